// The multipart upload, compared byte for byte with what the service must receive.
#include <gtest/gtest.h>

#include <regex>

#include "EmulatorFixture.h"

namespace nbx::test {
namespace {

class CloudUploadTest : public EmulatorFixture {};

TEST_F(CloudUploadTest, BodyIsExactlyOnePartWithTheCleanedFileName) {
    std::string binary(70000, '\0');
    for (std::size_t i = 0; i < binary.size(); ++i)
        binary[i] = static_cast<char>(i * 7);
    const struct {
        std::string fileName, cleaned, document;
    } cases[] = {
        {"Re\\port/*|\"Q1\":<x>?.pdf", "Re-port----Q1---x--.pdf", binary},
        {"R\xC3\xA9sum\xC3\xA9.pdf", "R\xC3\xA9sum\xC3\xA9.pdf", "%PDF"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.fileName);
        emulator.clearRequests();
        PropertyValue returned, error;
        EXPECT_TRUE(cloud->uploadContentJob(
            upload(c.fileName, Bytes(c.document.begin(), c.document.end())), &returned, &error))
            << error.description();
        EXPECT_TRUE(returned["contentKey"].isString()) << returned.description();

        const PropertyValue sent = lastRequest();
        EXPECT_EQ(sent["method"], PropertyValue("POST"));
        EXPECT_EQ(sent["path"], PropertyValue("/nbx/v2/printmgtsvc/job/content"));
        auto headers = applicationHeaders(sent);
        std::smatch match;
        ASSERT_TRUE(std::regex_match(
            headers["Content-Type"], match,
            std::regex("multipart/form-data; boundary=(AJAX-{23}[0-9]+\\.[0-9]{6})")))
            << headers["Content-Type"];
        const std::string boundary = match[1];
        headers.erase("Content-Type");
        EXPECT_EQ(headers, expectedHeaders("appID deviceId countryCode identifier accessToken"));

        const std::string expectedBody =
            "--" + boundary + "\r\nContent-Disposition: form-data; name=\"content\"; filename=\"" +
            c.cleaned + "\"\r\nContent-Type: application/x-bittorrent\r\n\r\n" + c.document +
            "\r\n--" + boundary + "--\r\n";
        const Bytes decoded = base64Decoded(sent["bodyBase64"].string().value_or(""));
        const std::string body =
            sent["body"].string().value_or(std::string(decoded.begin(), decoded.end()));
        EXPECT_TRUE(body == expectedBody)
            << "sizes " << body.size() << " / " << expectedBody.size();
    }
}

}  // namespace
}  // namespace nbx::test
