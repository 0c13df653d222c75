#include <gtest/gtest.h>

#include "NBXCommunicationInterface.h"

namespace nbx {
namespace {

using C = NBXCommunicationInterface;
using OptString = std::optional<std::string>;

Bytes bytes(std::string_view s) {
    return Bytes(s.begin(), s.end());
}

TEST(CommunicationStrings, URLFromParts) {
    struct Case {
        OptString protocol, domain, apiServer, apiURL, expected;
    };
    const Case cases[] = {
        {"http://", "127.0.0.1:8080", "/api/", "/printmgtsvc/agent?filter=ALL&listid=my,friend",
         "http://127.0.0.1:8080/api/printmgtsvc/agent?filter=ALL&listid=my,friend"},
        {"https://", "h", "api", "idmmgtsvc/user", "https://h/api/idmmgtsvc/user"},
        {"http://", "h", "", "/ignored", "http://h"},
        {"http://", "h", std::nullopt, "/ignored", "http://h"},
        {"http://", "h", "/api", std::nullopt, "http://h/api"},
        {std::nullopt, "h", "/api", "/x", std::nullopt},
        {"", "h", "/api", "/x", std::nullopt},
        {"http://", std::nullopt, "/api", "/x", std::nullopt},
        {"http://", "", "/api", "/x", std::nullopt},
        {"http://", "h", "/api", "/agent?filter=A B", std::nullopt},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(C::constructURLStringWithProtocol(c.protocol, c.domain, c.apiServer, c.apiURL),
                  c.expected)
            << c.apiURL.value_or("<none>");
    }
}

TEST(CommunicationStrings, QueryParametersKeepOrderAndLegacyEscaping) {
    struct Case {
        OptString url;
        PropertyValue parameters;
        OptString expected;
    };
    const Case cases[] = {
        {"http://h/p?x=1", PropertyValue::dictionary({{"n", 5}}), "http://h/p?x=1?n=5"},
        {"http://h/p", PropertyValue::dictionary(), "http://h/p?"},
        {std::nullopt, PropertyValue::dictionary({{"a", "b"}}), std::nullopt},
    };
    for (const auto& c : cases)
        EXPECT_EQ(C::fillURL(c.url, c.parameters), c.expected);
}

TEST(CommunicationStrings, UrlEncodeEscapesOnlyWhatCannotStandInAURL) {
    const std::pair<PropertyValue, std::string> cases[] = {
        {"\"%<>\\^`{|}#[]", "%22%25%3C%3E%5C%5E%60%7B%7C%7D%23%5B%5D"},
        {"&=+?/:;,@$!", "&=+?/:;,@$!"},
        {"caf\xC3\xA9\n", "caf%C3%A9%0A"},
        {42, "42"},
        {true, "1"},
    };
    for (const auto& [value, expected] : cases)
        EXPECT_EQ(C::urlEncode(value), expected);
}

TEST(CommunicationStrings, FormTextAndItsQuestionMarkSeparatedParse) {
    EXPECT_EQ(
        C::createXwwwformurlencodedString(PropertyValue::dictionary({{"a", "1 2"}, {"b", "&"}})),
        "a=1 2&b=&");
    struct Case {
        std::string text;
        std::optional<PropertyValue> expected;
    };
    const Case cases[] = {
        {"a=1?b=2?c", PropertyValue::dictionary({{"a", "1"}, {"b", "2"}})},
        {"a=1&b=2", PropertyValue::dictionary()},
        {"a=1?a=2?x=%20", PropertyValue::dictionary({{"a", "2"}, {"x", "%20"}})},
        {"k=", PropertyValue::dictionary({{"k", ""}})},
        {"", std::nullopt},
        {"\xFF=1", std::nullopt},
    };
    for (const auto& c : cases)
        EXPECT_EQ(C::parseXwwwFormURLEncodedResponseData(bytes(c.text)), c.expected) << c.text;
}

TEST(CommunicationStrings, FileNameFilterAndResponseSuccess) {
    const std::pair<OptString, OptString> names[] = {
        {"Report: Q1/Q2?.pdf", "Report- Q1-Q2-.pdf"}, {"", ""}, {std::nullopt, std::nullopt}};
    for (const auto& [in, out] : names)
        EXPECT_EQ(C::filterOutUnSupportedCharactersForFileName(in), out);

    const std::pair<PropertyValue, bool> successes[] = {
        {true, true},   {false, false},   {2, true},     {0, false},
        {"true", true}, {"  +007", true}, {"Yes", true}, {"false", false},
        {"no", false},  {"0", false},     {"", false},   {PropertyValue::array({1}), false},
    };
    for (const auto& [success, expected] : successes)
        EXPECT_EQ(isResponseASuccess(PropertyValue::dictionary({{"success", success}})), expected)
            << success.description();
    EXPECT_FALSE(isResponseASuccess(PropertyValue::dictionary({{"other", true}})));
    EXPECT_FALSE(isResponseASuccess(PropertyValue()));
}

}  // namespace
}  // namespace nbx
