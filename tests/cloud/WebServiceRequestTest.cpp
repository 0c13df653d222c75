#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <cstdio>
#include <cstring>
#include <string>

#include "DebugLine.h"
#include "LoopbackServer.h"
#include "NBXWebServiceRequest.h"

namespace nbx {
namespace {

using namespace std::chrono_literals;
using test::LoopbackServer;

std::string text(const Bytes& bytes) {
    return std::string(bytes.begin(), bytes.end());
}

// Records what arrived, so a case can check method, headers and body.
struct Arrival {
    std::string method;
    std::string body;
    httplib::Headers headers;
};

class WebServiceRequestTest : public ::testing::Test {
protected:
    void SetUp() override {
        auto& s = loopback.server();
        s.set_keep_alive_max_count(1);
        s.Get("/hop1", [](const auto&, auto& res) {
            res.set_redirect("/hop2", 302);
            res.set_content("first hop body", "text/plain");
        });
        s.Get("/hop2", [](const auto&, auto& res) {
            res.set_redirect("/final", 301);
            res.set_content("second hop body", "text/plain");
        });
        s.Get("/final", [](const auto&, auto& res) { res.set_content("final", "text/plain"); });
        s.Get("/loop", [](const auto&, auto& res) { res.set_redirect("/loop", 302); });
        s.Post("/keep", [](const auto&, auto& res) { res.set_redirect("/echo", 307); });
        const auto echo = [this](const httplib::Request& req, httplib::Response& res) {
            arrival = {req.method, req.body, req.headers};
            res.set_content("echo", "text/plain");
        };
        for (const char* path : {"/echo"}) {
            s.Get(path, echo);
            s.Post(path, echo);
            s.Put(path, echo);
        }
        loopback.start();
    }

    LoopbackServer loopback;
    Arrival arrival;
};

TEST_F(WebServiceRequestTest, OnlyTheFinalBodyOfARedirectChainIsKept) {
    NBXWebServiceRequest request(loopback.url("/hop1"));
    EXPECT_TRUE(request.executeRequest());
    EXPECT_EQ(request.httpStatusCode(), 200);
    EXPECT_EQ(text(request.responseData()), "final");
}

TEST_F(WebServiceRequestTest, TransportFailuresGiveNoWithStatusZero) {
    struct Case {
        const char* name;
        std::string url;
    };
    test::SilentListener silent;
    const Case cases[] = {
        {"connection refused",
         "http://127.0.0.1:" + std::to_string(test::closedLoopbackPort()) + "/x"},
        {"never answers", "http://127.0.0.1:" + std::to_string(silent.port()) + "/x"},
        {"endless redirects", loopback.url("/loop")},
        {"unsupported scheme", "file:///etc/hostname"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        NBXWebServiceRequest request(c.url);
        request.setTimeout(300ms);
        const auto start = std::chrono::steady_clock::now();
        EXPECT_FALSE(request.executeRequest());
        EXPECT_LT(std::chrono::steady_clock::now() - start, 10s);
        EXPECT_TRUE(request.responseData().empty());
        if (std::string(c.name) != "endless redirects") {
            EXPECT_EQ(request.httpStatusCode(), 0);
            EXPECT_EQ(request.httpLocalizdStringForStatusCode(), "No Response");
        }
    }
}

TEST_F(WebServiceRequestTest, MethodsBodiesAndHeadersArriveAsSet) {
    struct Case {
        const char* method;
        std::optional<std::string> body;
        const char* expectedContentType;  // nullptr: must be absent
    };
    const Case cases[] = {
        {"GET", std::nullopt, nullptr},
        {"PUT", R"({"b":2})", "application/json"},
        {"POST", std::nullopt, nullptr},
        {"POST", "x=1", "application/json"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(std::string(c.method) + " " + c.body.value_or("<none>"));
        NBXWebServiceRequest request(loopback.url("/echo"));
        request.setHttpMethod(c.method);
        if (c.body) request.setRequestData(Bytes(c.body->begin(), c.body->end()));
        if (c.expectedContentType) request.setValue(c.expectedContentType, "Content-Type");
        request.setValue(std::string("kept"), "appID");
        request.setValue(std::string(""), "countryCode");
        request.setValue(std::nullopt, "accessToken");
        request.setValue(std::string("line\r\nInjected: yes"), "identifier");
        ASSERT_TRUE(request.executeRequest());
        EXPECT_EQ(arrival.method, c.method);
        EXPECT_EQ(arrival.body, c.body.value_or(""));
        EXPECT_EQ(arrival.headers.count("Content-Type"), c.expectedContentType ? 1u : 0u);
        if (c.expectedContentType) {
            EXPECT_EQ(arrival.headers.find("Content-Type")->second, c.expectedContentType);
        }
        EXPECT_EQ(arrival.headers.find("appID")->second, "kept");
        EXPECT_EQ(arrival.headers.count("countryCode"), 0u);
        EXPECT_EQ(arrival.headers.count("accessToken"), 0u);
        EXPECT_EQ(arrival.headers.count("Injected"), 0u);
        EXPECT_EQ(arrival.headers.count("Expect"), 0u);
    }
}

TEST_F(WebServiceRequestTest, StreamedPiecesArriveWholeAndRewindOnRedirect) {
    const std::string head = "--head\r\n";
    std::vector<std::uint8_t> document(3 << 20);
    for (std::size_t i = 0; i < document.size(); ++i)
        document[i] = static_cast<uint8_t>(i * 31);
    const std::string tail = "\r\n--tail--\r\n";
    const auto asSpan = [](const std::string& s) {
        return std::span<const std::uint8_t>(reinterpret_cast<const std::uint8_t*>(s.data()),
                                             s.size());
    };
    for (const char* path : {"/echo", "/keep"}) {
        SCOPED_TRACE(path);
        NBXWebServiceRequest request(loopback.url(path));
        request.setHttpMethod("POST");
        request.setRequestBodyPieces({asSpan(head), document, asSpan(tail)});
        ASSERT_TRUE(request.executeRequest());
        ASSERT_EQ(arrival.body.size(), head.size() + document.size() + tail.size());
        EXPECT_EQ(arrival.body.substr(0, head.size()), head);
        EXPECT_EQ(std::memcmp(document.data(), arrival.body.data() + head.size(), document.size()),
                  0);
        EXPECT_EQ(arrival.body.substr(arrival.body.size() - tail.size()), tail);
    }
}

TEST(DebugLineText, LineFeedsBecomeBlanksAndNonAsciiIsEscaped) {
    const std::pair<std::string, std::string> cases[] = {
        {"\n\nNBX_WSR: Sending", "  NBX_WSR: Sending"},
        {"caf\xC3\xA9", "caf\\xC3\\xA9"},
        {"tab\there", "tab\\x09here"},
        {"", ""},
    };
    for (const auto& [in, out] : cases)
        EXPECT_EQ(printableDebugText(in), out);
}

}  // namespace
}  // namespace nbx
