#pragma once

#include <curl/curl.h>

namespace nbx {

// The libcurl calls the client makes, bound when the first exchange needs them rather than when
// the program starts: the library's dependencies cost a window a visible share of its start-up.
struct CurlLibrary {
    decltype(&curl_easy_init) easy_init;
    decltype(&curl_easy_setopt) easy_setopt;
    decltype(&curl_easy_perform) easy_perform;
    decltype(&curl_easy_getinfo) easy_getinfo;
    decltype(&curl_easy_strerror) easy_strerror;
    decltype(&curl_easy_cleanup) easy_cleanup;
    decltype(&curl_slist_append) slist_append;
    decltype(&curl_slist_free_all) slist_free_all;
    decltype(&curl_url) url;
    decltype(&curl_url_set) url_set;
    decltype(&curl_url_cleanup) url_cleanup;

    // Loaded and initialized once, on whichever thread asks first; null when it cannot be, with
    // the reason in loadError().
    static const CurlLibrary* get();
    static const char* loadError();
};

}  // namespace nbx
