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
    const std::string end = "\r\n--AJAX-----------------------1.5--";
    const std::string binary = "%PDF\r\n--AJAX not the boundary\0\xff\r\n"s;
    const std::string file = part("name=\"content\"; filename=\"Report- Q1-Q2-.pdf\"", binary);
    struct Case {
        const char* name;
        std::string body;
        std::size_t parts;  // 0: refused
        bool endsWithLineBreak;
    } cases[] = {
        {"one file part", file + end + "\r\n", 1, true},
        {"no final line break", file + end, 1, false},
        {"two parts", part("name=\"a\"", "1") + "\r\n" + part("name=\"b\"", "") + end, 2, false},
        {"no closing boundary", file, 0, false},
        {"other boundary", "--other\r\n\r\n", 0, false},
        {"part without a name", part("filename=\"a.pdf\"", "x") + end, 0, false},
        {"unterminated headers", "--AJAX-----------------------1.5\r\nContent-Type: x", 0, false},
        {"empty body", "", 0, false},
    };
    for (const auto& c : cases) {
        std::string error;
        const auto body = MultipartBody::parse(kType, c.body, &error);
        ASSERT_EQ(body.has_value(), c.parts > 0) << c.name << ": " << error;
        if (!body) {
            EXPECT_FALSE(error.empty()) << c.name;
            continue;
        }
        EXPECT_EQ(body->parts().size(), c.parts) << c.name;
        EXPECT_EQ(body->endsWithLineBreak(), c.endsWithLineBreak) << c.name;
        if (const auto* content = body->find("content")) {
            EXPECT_EQ(content->data, binary);
            EXPECT_EQ(content->fileName, "Report- Q1-Q2-.pdf");
            EXPECT_EQ(content->contentType, "application/x-bittorrent");
        }
        EXPECT_EQ(body->find("other"), nullptr);
    }
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
