#include "CurlLibrary.h"

#include <csignal>
#include <string>

#include "SharedLibrary.h"

namespace nbx {

namespace {

std::string loadFailure;

const CurlLibrary* load() {
    SharedLibrary so("libcurl.so.4");
    static CurlLibrary lib;
    decltype(&curl_global_init) globalInit = nullptr;
    const bool bound =
        so.bind("curl_global_init", globalInit) && so.bind("curl_easy_init", lib.easy_init) &&
        so.bind("curl_easy_setopt", lib.easy_setopt) &&
        so.bind("curl_easy_perform", lib.easy_perform) &&
        so.bind("curl_easy_getinfo", lib.easy_getinfo) &&
        so.bind("curl_easy_strerror", lib.easy_strerror) &&
        so.bind("curl_easy_cleanup", lib.easy_cleanup) &&
        so.bind("curl_slist_append", lib.slist_append) &&
        so.bind("curl_slist_free_all", lib.slist_free_all) && so.bind("curl_url", lib.url) &&
        so.bind("curl_url_set", lib.url_set) && so.bind("curl_url_cleanup", lib.url_cleanup);
    if (!bound) {
        loadFailure = so.why();
        return nullptr;
    }
    // A peer closing early must fail the write, not end the process.
    std::signal(SIGPIPE, SIG_IGN);
    if (globalInit(CURL_GLOBAL_DEFAULT) != CURLE_OK) {
        loadFailure = "libcurl did not initialize";
        return nullptr;
    }
    return &lib;
}

}  // namespace

const CurlLibrary* CurlLibrary::get() {
    // Initialized once, and other threads asking meanwhile wait for it.
    static const CurlLibrary* const lib = load();
    return lib;
}

const char* CurlLibrary::loadError() {
    get();
    return loadFailure.c_str();
}

}  // namespace nbx
