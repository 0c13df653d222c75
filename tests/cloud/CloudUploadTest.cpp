// The multipart upload, compared byte for byte with what the service must receive.
#include <gtest/gtest.h>

#include <regex>

#include "EmulatorFixture.h"

namespace nbx::test {
namespace {

class CloudUploadTest : public EmulatorFixture {};

std::string asText(const Bytes& bytes) {
    return std::string(bytes.begin(), bytes.end());
}

TEST_F(CloudUploadTest, BodyIsExactlyOnePartWithTheCleanedFileName) {
    struct Case {
        const char* name;
        std::string fileName;
        std::string cleaned;
        Bytes document;
    };
    Bytes binary(70000);
    for (std::size_t i = 0; i < binary.size(); ++i)
        binary[i] = static_cast<std::uint8_t>(i * 7);
    const Case cases[] = {
        {"every filtered character", "Re\\port/*|\"Q1\":<x>?.pdf", "Re-port----Q1---x--.pdf",
         binary},
        {"spec sample", "Report: Q1/Q2?.pdf", "Report- Q1-Q2-.pdf", Bytes{'%', 'P', 'D', 'F'}},
        {"non-ASCII name", "R\xC3\xA9sum\xC3\xA9.pdf", "R\xC3\xA9sum\xC3\xA9.pdf", Bytes{0, 1, 2}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        emulator.clearRequests();
        PropertyValue returned, error;
        EXPECT_TRUE(cloud->uploadContentJob(
            sender({{"fileName", c.fileName}, {"pdfData", c.document}}), &returned, &error))
            << error.description();
        EXPECT_TRUE(returned["contentKey"].isString()) << returned.description();

        const PropertyValue sent = lastRequest();
        EXPECT_EQ(sent["method"], PropertyValue("POST"));
        EXPECT_EQ(sent["path"], PropertyValue("/nbx/v2/printmgtsvc/job/content"));
        auto headers = applicationHeaders(sent);
        const std::string contentType = headers["Content-Type"];
        std::smatch match;
        ASSERT_TRUE(std::regex_match(
            contentType, match,
            std::regex("multipart/form-data; boundary=(AJAX-{23}[0-9]+\\.[0-9]{6})")))
            << contentType;
        const std::string boundary = match[1];
        headers.erase("Content-Type");
        std::map<std::string, std::string> expected = {
            {"appID", NBXCommunicationInterface::NBXD2AppID()},
            {"countryCode", kCountryCode},
            {"identifier", kPhoneNumber},
            {"accessToken", kAccessToken}};
        if (wire().macAddress()) expected["deviceId"] = *wire().macAddress();
        EXPECT_EQ(headers, expected);

        const std::string expectedBody =
            "--" + boundary + "\r\nContent-Disposition: form-data; name=\"content\"; filename=\"" +
            c.cleaned + "\"\r\nContent-Type: application/x-bittorrent\r\n\r\n" +
            asText(c.document) + "\r\n--" + boundary + "--\r\n";
        const std::string body = sent["body"].isString()
                                     ? *sent["body"].string()
                                     : asText(base64Decoded(*sent["bodyBase64"].string()));
        EXPECT_TRUE(body == expectedBody)
            << "sizes " << body.size() << " / " << expectedBody.size();
    }
}

}  // namespace
}  // namespace nbx::test
