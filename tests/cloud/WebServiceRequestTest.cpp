#include <fcntl.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <functional>
#include <future>
#include <string>
#include <type_traits>

#include "LoopbackServer.h"
#include "NBXCloudInterface.h"
#include "NBXWebServiceRequest.h"

namespace nbx {
namespace {

using namespace std::chrono_literals;

// A bound loopback socket and its port; a listening one accepts connections nobody answers.
std::pair<int, int> loopbackSocket() {
    const int fd = ::socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof address;
    ::bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof address);
    ::getsockname(fd, reinterpret_cast<sockaddr*>(&address), &length);
    return {fd, ntohs(address.sin_port)};
}

class WebServiceRequestTest : public ::testing::Test {
protected:
    void SetUp() override {
        auto& s = loopback.server();
        s.set_keep_alive_max_count(1);
        s.Get("/loop", [](const auto&, auto& res) { res.set_redirect("/loop", 302); });
        s.Post("/keep", [](const auto&, auto& res) { res.set_redirect("/echo", 307); });
        const auto echo = [this](const httplib::Request& req, httplib::Response& res) {
            arrival = req;
            res.set_content("echo", "text/plain");
        };
        s.Post("/echo", echo);
        s.Put("/echo", echo);
        loopback.start();
    }

    test::LoopbackServer loopback;
    httplib::Request arrival;
};

TEST_F(WebServiceRequestTest, TransportFailuresGiveNoWithStatusZero) {
    const auto [closed, closedPort] = loopbackSocket();
    ::close(closed);
    const auto [silent, silentPort] = loopbackSocket();
    ::listen(silent, 8);
    const std::pair<const char*, std::string> cases[] = {
        {"connection refused", "http://127.0.0.1:" + std::to_string(closedPort) + "/x"},
        {"never answers", "http://127.0.0.1:" + std::to_string(silentPort) + "/x"},
        {"endless redirects", loopback.url("/loop")},
        {"unsupported scheme", "file:///etc/hostname"},
    };
    for (const auto& [name, url] : cases) {
        SCOPED_TRACE(name);
        NBXWebServiceRequest request(url);
        request.setTimeout(300ms);
        const auto start = std::chrono::steady_clock::now();
        EXPECT_FALSE(request.executeRequest());
        EXPECT_LT(std::chrono::steady_clock::now() - start, 10s);
        EXPECT_TRUE(request.responseData().empty());
        if (std::string(name) != "endless redirects") {
            EXPECT_EQ(request.httpStatusCode(), 0);
            EXPECT_EQ(request.httpLocalizdStringForStatusCode(), "No Response");
        }
    }
    ::close(silent);
}

// Methods, bodies and the usual headers are checked per operation against the emulator.
TEST_F(WebServiceRequestTest, EmptyAndInjectedHeaderValuesNeverArrive) {
    NBXWebServiceRequest request(loopback.url("/echo"));
    request.setHttpMethod("PUT");
    request.setRequestData(Bytes{'{', '}'});
    request.setValue(std::string("kept"), "appID");
    request.setValue(std::string(""), "countryCode");
    request.setValue(std::nullopt, "accessToken");
    request.setValue(std::string("line\r\nInjected: yes"), "identifier");
    ASSERT_TRUE(request.executeRequest());
    EXPECT_EQ(arrival.method, "PUT");
    EXPECT_EQ(arrival.body, "{}");
    EXPECT_EQ(arrival.get_header_value("appID"), "kept");
    // Nor does a wait for a 100-continue answer.
    for (const char* absent : {"countryCode", "accessToken", "Injected", "Expect"})
        EXPECT_FALSE(arrival.has_header(absent)) << absent;
}

TEST_F(WebServiceRequestTest, StreamedPiecesArriveWholeAndRewindOnRedirect) {
    const std::string head = "--head\r\n", tail = "\r\n--tail--\r\n";
    std::string document(3 << 20, '\0');
    for (std::size_t i = 0; i < document.size(); ++i)
        document[i] = static_cast<char>(i * 31);
    const auto asSpan = [](const std::string& s) {
        return std::span(reinterpret_cast<const std::uint8_t*>(s.data()), s.size());
    };
    for (const char* path : {"/echo", "/keep"}) {
        SCOPED_TRACE(path);
        NBXWebServiceRequest request(loopback.url(path));
        request.setHttpMethod("POST");
        request.setRequestBodyPieces({asSpan(head), asSpan(document), asSpan(tail)});
        ASSERT_TRUE(request.executeRequest());
        EXPECT_TRUE(arrival.body == head + document + tail) << "size " << arrival.body.size();
        EXPECT_EQ(request.responseData(), Bytes({'e', 'c', 'h', 'o'}));
    }
}

// Its body spans may point into itself: a copy would read freed memory.
static_assert(!std::is_copy_constructible_v<NBXWebServiceRequest> &&
              !std::is_copy_assignable_v<NBXWebServiceRequest>);

// Quitting: with the switch on, an exchange in flight ends within about a second and a new one
// fails without connecting; the service lookup and the upload go the same way.
TEST(AbortTransfers, EndExchangesInFlightAndStartNoNewOnes) {
    const auto [silent, port] = loopbackSocket();
    ::listen(silent, 16);
    ::fcntl(silent, F_SETFL, O_NONBLOCK);
    const auto connections = [fd = silent] {
        int n = 0;
        for (int c; (c = ::accept(fd, nullptr, nullptr)) >= 0; ++n)
            ::close(c);
        return n;
    };
    const std::string host = "127.0.0.1:" + std::to_string(port);
    ::setenv("NBX_LOOKUP_SERVER", host.c_str(), 1);
    auto cloud = NBXCloudInterface::interfaceWithNBXServerInformation(host, "/api", "http://");
    const auto upload = PropertyValue::dictionary({{"senderCountryCode", "44"},
                                                   {"senderPhoneNumber", "1"},
                                                   {"fileName", "a.pdf"},
                                                   {"pdfData", Bytes(3 << 20, '%')}});
    const std::pair<const char*, std::function<bool()>> exchanges[] = {
        {"exchange", [&] { return NBXWebServiceRequest("http://" + host).executeRequest(); }},
        {"lookup",
         [] {
             return !!NBXCloudInterface::interfaceCreatedFromLookUpServerWithConfiguration(
                 {}, nullptr, nullptr);
         }},
        {"upload", [&] { return cloud->uploadContentJob(upload, nullptr, nullptr); }},
    };
    for (const auto& [name, exchange] : exchanges) {
        SCOPED_TRACE(name);
        auto inFlight = std::async(std::launch::async, exchange);
        EXPECT_EQ(inFlight.wait_for(300ms), std::future_status::timeout);
        NBXWebServiceRequest::setAbortTransfers(true);
        EXPECT_EQ(inFlight.wait_for(1500ms), std::future_status::ready);
        EXPECT_FALSE(inFlight.get());
        EXPECT_GT(connections(), 0);
        EXPECT_FALSE(exchange());
        EXPECT_EQ(connections(), 0);
        NBXWebServiceRequest::setAbortTransfers(false);
    }
    ::unsetenv("NBX_LOOKUP_SERVER");
    ::close(silent);
}

}  // namespace
}  // namespace nbx
