#include <gtest/gtest.h>

#include "SecretMask.h"

namespace nbx {
namespace {

TEST(SecretMask, HidesTheValueOfEverySecretKeyInEachShapeALogLineTakes) {
    const struct {
        const char *text, *masked;
    } rows[] = {
        {R"x({"success":true,"accessToken":"tok-123456"})x",
         R"x({"success":true,"accessToken":"(hidden, 10 characters)"})x"},
        {R"x({"pinCode" : "0421", "name":"ann"})x",
         R"x({"pinCode" : "(hidden, 4 characters)", "name":"ann"})x"},
        {R"x({"valmoraAccessToken":"a\"b\\c","x":1})x",
         R"x({"valmoraAccessToken":"(hidden, 7 characters)","x":1})x"},
        {"<key>ValmoraAccountToken</key>\n\t<string>vt-9</string>",
         "<key>ValmoraAccountToken</key>\n\t<string>(hidden, 4 characters)</string>"},
        {R"x({ AccessToken = "tok 1"; pin = 0421; })x",
         R"x({ AccessToken = "(hidden, 5 characters)"; pin = (hidden, 4 characters); })x"},
        {"signin?password=s3cret&user=ann", "signin?password=(hidden, 6 characters)&user=ann"},
        // Values that are not text, keys that only look alike, and nothing to hide.
        {R"x({"requireAccessToken":true,"tokens":["t"],"pinned":"p"})x",
         R"x({"requireAccessToken":true,"tokens":["t"],"pinned":"p"})x"},
        {"accessToken", "accessToken"},
        // A body cut short still hides what it holds.
        {R"x({"accessToken":"tok-12)x", R"x({"accessToken":"(hidden, 6 characters))x"},
        {"<key>pin</key><string>77", "<key>pin</key><string>(hidden, 2 characters)"},
    };
    for (const auto& row : rows)
        EXPECT_EQ(maskSecrets(row.text), row.masked) << row.text;
}

}  // namespace
}  // namespace nbx
