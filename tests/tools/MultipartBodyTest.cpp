#include "MultipartBody.h"

#include <gtest/gtest.h>

namespace nbx::emulator {
namespace {

using namespace std::string_literals;

constexpr const char* kType = "multipart/form-data; boundary=AJAX-----------------------1.5";

std::string part(const std::string& disposition, const std::string& data) {
    return "--AJAX-----------------------1.5\r\nContent-Disposition: form-data; " + disposition +
           "\r\nContent-Type: application/x-bittorrent\r\n\r\n" + data;
}

TEST(MultipartBodyTest, BoundaryComesFromTheContentType) {
    struct Case {
        const char* contentType;
        std::optional<std::string> boundary;
    } cases[] = {
        {kType, "AJAX-----------------------1.5"},
        {"Multipart/Form-Data; charset=utf-8; boundary=\"a b\"", "a b"},
        {"multipart/form-data;boundary=x ; charset=utf-8", "x"},
        {"multipart/form-data", std::nullopt},
        {"multipart/form-data; boundary=", std::nullopt},
        {"application/json; boundary=x", std::nullopt},
        {"multipart/form-data; xboundary=y", std::nullopt},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(MultipartBody::boundaryOf(c.contentType), c.boundary) << c.contentType;
    }
}

TEST(MultipartBodyTest, ParsesOrRefusesBodies) {
    const std::string binary = "%PDF\r\n--AJAX not the boundary\0\xff"s;
    struct Case {
        const char* name;
        std::string body;
        bool parses;
        std::size_t parts;
        bool endsWithLineBreak;
    } cases[] = {
        {"one file part",
         part("name=\"content\"; filename=\"a.pdf\"", binary) +
             "\r\n--AJAX-----------------------1.5--\r\n",
         true, 1, true},
        {"no final line break",
         part("name=\"content\"; filename=\"a.pdf\"", "x") +
             "\r\n--AJAX-----------------------1.5--",
         true, 1, false},
        {"two parts",
         part("name=\"a\"", "1") + "\r\n" + part("name=\"b\"", "2") +
             "\r\n--AJAX-----------------------1.5--\r\n",
         true, 2, true},
        {"empty content",
         part("name=\"content\"; filename=\"\"", "") + "\r\n--AJAX-----------------------1.5--\r\n",
         true, 1, true},
        {"no closing boundary", part("name=\"content\"", "data"), false, 0, false},
        {"other boundary", "--other\r\n\r\n", false, 0, false},
        {"part without a name",
         part("filename=\"a.pdf\"", "x") + "\r\n--AJAX-----------------------1.5--\r\n", false, 0,
         false},
        {"unterminated headers", "--AJAX-----------------------1.5\r\nContent-Type: x", false, 0,
         false},
        {"empty body", "", false, 0, false},
    };
    for (const auto& c : cases) {
        std::string error;
        auto body = MultipartBody::parse(kType, c.body, &error);
        ASSERT_EQ(body.has_value(), c.parses) << c.name << ": " << error;
        if (!body) {
            EXPECT_FALSE(error.empty()) << c.name;
            continue;
        }
        EXPECT_EQ(body->parts().size(), c.parts) << c.name;
        EXPECT_EQ(body->endsWithLineBreak(), c.endsWithLineBreak) << c.name;
    }
}

TEST(MultipartBodyTest, KeepsFileBytesAndHeadersExactly) {
    const std::string binary = "%PDF\r\n--AJAX\0\xff\r\n"s;
    std::string error;
    auto body =
        MultipartBody::parse(kType,
                             part("name=\"content\"; filename=\"Report- Q1-Q2-.pdf\"", binary) +
                                 "\r\n--AJAX-----------------------1.5--\r\n",
                             &error);
    ASSERT_TRUE(body) << error;
    const auto* content = body->find("content");
    ASSERT_NE(content, nullptr);
    EXPECT_EQ(content->data, binary);
    EXPECT_EQ(content->fileName, "Report- Q1-Q2-.pdf");
    EXPECT_EQ(content->contentType, "application/x-bittorrent");
    EXPECT_EQ(body->find("other"), nullptr);
}

TEST(MultipartBodyTest, StopsAtThePartLimit) {
    std::string many;
    for (std::size_t i = 0; i <= MultipartBody::kMaxParts; ++i)
        many += part("name=\"p\"", "") + "\r\n";
    many += "--AJAX-----------------------1.5--\r\n";
    std::string error;
    EXPECT_FALSE(MultipartBody::parse(kType, many, &error));
    EXPECT_EQ(error, "too many parts");
}

}  // namespace
}  // namespace nbx::emulator
