#include "CurlLibrary.h"

#include <dlfcn.h>

#include <csignal>
#include <mutex>
#include <string>

namespace nbx {

namespace {

constexpr const char* kSoname = "libcurl.so.4";

std::string& error() {
    static std::string text;
    return text;
}

template <typename F>
bool bind(void* handle, const char* name, F& slot) {
    slot = reinterpret_cast<F>(dlsym(handle, name));
    if (!slot) error() = std::string(kSoname) + " lacks " + name;
    return slot != nullptr;
}

const CurlLibrary* load() {
    // Never closed: handles and callbacks may outlive any owner.
    void* handle = dlopen(kSoname, RTLD_NOW | RTLD_LOCAL);
    if (!handle) {
        const char* why = dlerror();
        error() = why ? why : kSoname;
        return nullptr;
    }
    static CurlLibrary lib;
    decltype(&curl_global_init) globalInit = nullptr;
    const bool bound = bind(handle, "curl_global_init", globalInit) &&
                       bind(handle, "curl_easy_init", lib.easy_init) &&
                       bind(handle, "curl_easy_setopt", lib.easy_setopt) &&
                       bind(handle, "curl_easy_perform", lib.easy_perform) &&
                       bind(handle, "curl_easy_getinfo", lib.easy_getinfo) &&
                       bind(handle, "curl_easy_strerror", lib.easy_strerror) &&
                       bind(handle, "curl_easy_cleanup", lib.easy_cleanup) &&
                       bind(handle, "curl_slist_append", lib.slist_append) &&
                       bind(handle, "curl_slist_free_all", lib.slist_free_all) &&
                       bind(handle, "curl_url", lib.url) &&
                       bind(handle, "curl_url_set", lib.url_set) &&
                       bind(handle, "curl_url_cleanup", lib.url_cleanup);
    if (!bound) return nullptr;
    // A peer closing early must fail the write, not end the process.
    std::signal(SIGPIPE, SIG_IGN);
    if (globalInit(CURL_GLOBAL_DEFAULT) != CURLE_OK) {
        error() = std::string(kSoname) + " did not initialize";
        return nullptr;
    }
    return &lib;
}

}  // namespace

const CurlLibrary* CurlLibrary::get() {
    static std::once_flag once;
    static const CurlLibrary* lib = nullptr;
    std::call_once(once, [] { lib = load(); });
    return lib;
}

const char* CurlLibrary::loadError() {
    get();
    return error().c_str();
}

}  // namespace nbx
