#include "StoredAccessToken.h"

#if __has_include("NBXUtility.h")
#include "NBXUtility.h"
#define NBX_HAS_TOKEN_STORE 1
#endif

namespace nbx {

std::optional<std::string> storedAccessToken() {
#ifdef NBX_HAS_TOKEN_STORE
    return NBXUtility::valmoraAccessToken();
#else
    // The local store is not part of this build yet: requests go without a token.
    return std::nullopt;
#endif
}

}  // namespace nbx
