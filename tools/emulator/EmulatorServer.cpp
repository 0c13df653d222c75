#include "EmulatorServer.h"

#include <sys/socket.h>

#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <ostream>
#include <sstream>
#include <thread>
#include <vector>

#include "JSONKit.h"

namespace nbx::emulator {
namespace {

// The library parses multipart bodies and skips GET bodies on its own; these headers carry
// the originals past it so the log and the upload see the request as the client sent it.
constexpr const char* kOriginalContentType = "X-Nbx-Original-Content-Type";
constexpr const char* kOriginalMethod = "X-Nbx-Original-Method";

httplib::Server::HandlerResponse keepRawBody(const httplib::Request& constRequest,
                                             httplib::Response&) {
    auto& request = const_cast<httplib::Request&>(constRequest);
    auto type = request.headers.find("Content-Type");
    if (type != request.headers.end() && type->second.rfind("multipart/", 0) == 0) {
        std::string original = type->second;
        type->second = "application/octet-stream";
        request.headers.emplace(kOriginalContentType, original);
    }
    bool hasBody = request.get_header_value<std::uint64_t>("Content-Length") > 0;
    if (hasBody && (request.method == "GET" || request.method == "HEAD")) {
        request.headers.emplace(kOriginalMethod, request.method);
        request.method = "POST";
    }
    return httplib::Server::HandlerResponse::Unhandled;
}

// The library adds the connection's endpoints as if they were headers.
bool isPseudoHeader(const std::string& name) {
    return name == "LOCAL_ADDR" || name == "LOCAL_PORT" || name == "REMOTE_ADDR" ||
           name == "REMOTE_PORT";
}

// Undoes keepRawBody once the body has been read.
void restoreOriginal(httplib::Request& request) {
    auto method = request.headers.find(kOriginalMethod);
    if (method != request.headers.end()) {
        request.method = method->second;
        request.headers.erase(method);
    }
    auto type = request.headers.find(kOriginalContentType);
    if (type != request.headers.end()) {
        std::string original = type->second;
        request.headers.erase(type);
        request.headers.find("Content-Type")->second = original;
    }
}

std::string pathWithoutPrefix(const std::string& path) {
    std::string prefix = CloudService::kApiPrefix;
    return path.rfind(prefix + "/", 0) == 0 ? path.substr(prefix.size()) : path;
}

}  // namespace

struct EmulatorServer::Exchange {
    const httplib::Request& request;
    std::string method;
    std::string path;
    std::string query;
    std::vector<std::pair<std::string, std::string>> headers;
};

EmulatorServer::EmulatorServer(CloudState& state, std::ostream& console, bool quiet)
    : state_(state), service_(state, console), console_(console), quiet_(quiet) {
    install();
}

void EmulatorServer::install() {
    auto handler = [this](const httplib::Request& request, httplib::Response& response) {
        handle(request, response);
    };
    server_.set_pre_routing_handler(keepRawBody);
    server_.Get(".*", handler);
    server_.Post(".*", handler);
    server_.Put(".*", handler);
    server_.Delete(".*", handler);
    server_.Patch(".*", handler);
    // One exchange per connection, like the client; it also keeps shutdown quick.
    server_.set_keep_alive_max_count(1);
    server_.set_read_timeout(5);
    server_.set_payload_max_length(64u * 1024 * 1024);
    // A waiting long poll holds its worker; enough of them keep the rest of the service going.
    server_.new_task_queue = [] { return new httplib::ThreadPool(kWorkerThreads); };
}

std::optional<int> EmulatorServer::bind(int port) {
    if (port == 0) {
        port_ = server_.bind_to_any_port("127.0.0.1");
    } else {
        port_ = server_.bind_to_port("127.0.0.1", port) ? port : -1;
    }
    if (port_ <= 0) return std::nullopt;
    return port_;
}

void EmulatorServer::serve() {
    server_.listen_after_bind();
}

void EmulatorServer::stop() {
    {
        std::lock_guard lock(mutex_);
        stopping_ = true;
    }
    changed_.notify_all();
    server_.stop();
}

void EmulatorServer::handle(const httplib::Request& request, httplib::Response& response) {
    // The library passes its own, mutable request object as const.
    restoreOriginal(const_cast<httplib::Request&>(request));
    Exchange exchange{request, request.method, request.path, "", {}};
    auto question = request.target.find('?');
    if (question != std::string::npos) exchange.query = request.target.substr(question + 1);
    for (const auto& [name, value] : request.headers) {
        if (!isPseudoHeader(name)) exchange.headers.emplace_back(name, value);
    }
    if (request.path.rfind(kAdminPrefix, 0) == 0) {
        handleAdmin(exchange, response);
    } else {
        handleCloud(exchange, response);
    }
}

void EmulatorServer::handleCloud(const Exchange& exchange, httplib::Response& response) {
    std::optional<Fault> fault;
    bool inChain = exchange.request.has_param(kRedirectParameter);
    {
        std::lock_guard lock(mutex_);
        log_.add(exchange.method, exchange.path, exchange.query, exchange.headers,
                 exchange.request.body);
        if (!inChain) {
            fault = faults_.take(exchange.method, exchange.path, pathWithoutPrefix(exchange.path));
        }
    }
    if (fault && !waitFor(fault->delayMs)) return dropConnection(exchange.request);
    if (fault && fault->drop) return dropConnection(exchange.request);
    if (fault && fault->redirects > 0) return redirect(exchange, fault->redirects - 1, response);
    if (inChain) {
        int remaining = std::atoi(exchange.request.get_param_value(kRedirectParameter).c_str());
        if (remaining > 0) return redirect(exchange, remaining - 1, response);
    }
    ApiReply reply = answer(exchange);
    if (!quiet_) {
        std::lock_guard lock(mutex_);
        std::clog << exchange.method << " " << exchange.path << " -> " << reply.status << std::endl;
    }
    if (reply.bytes) {
        response.status = reply.status;
        response.set_content(*reply.bytes, "application/octet-stream");
    } else {
        sendJson(response, reply.status, reply.document);
    }
    if (fault) applyFault(*fault, response);
}

ApiReply EmulatorServer::answer(const Exchange& exchange) {
    std::unique_lock lock(mutex_);
    if (exchange.path == CloudService::kLookupPath) {
        return service_.lookup(exchange.request, "127.0.0.1:" + std::to_string(port_));
    }
    // Clients turn a redirected POST into a GET; the chain remembers what was asked for.
    std::string method = exchange.request.get_param_value(kRedirectMethodParameter);
    if (method.empty()) method = exchange.method;
    std::string apiPath = pathWithoutPrefix(exchange.path);
    std::optional<ApiReply> reply;
    if (apiPath != exchange.path) reply = service_.handle(method, apiPath, exchange.request);
    if (!reply) return CloudService::error("18000", "no operation at " + exchange.path);
    if (method != "GET") changed_.notify_all();
    // A long poll that found nothing waits without the lock and looks again on every change.
    auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(reply->waitSeconds);
    while (reply->waitSeconds > 0 && !stopping_ &&
           changed_.wait_until(lock, deadline) == std::cv_status::no_timeout) {
        reply = service_.handle(method, apiPath, exchange.request);
        if (!reply) return CloudService::error("18000", "no operation at " + exchange.path);
    }
    return *reply;
}

// Sleeps in short steps so a stop request is never held up by a staged delay.
bool EmulatorServer::waitFor(int delayMs) const {
    auto until = std::chrono::steady_clock::now() + std::chrono::milliseconds(delayMs);
    while (std::chrono::steady_clock::now() < until) {
        if (stopping_) return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return !stopping_;
}

void EmulatorServer::redirect(const Exchange& exchange, int remaining,
                              httplib::Response& response) const {
    std::string query;
    for (const auto& [name, value] : exchange.request.params) {
        if (name == kRedirectParameter) continue;
        query += name + "=" + httplib::detail::encode_query_param(value) + "&";
    }
    if (!exchange.request.has_param(kRedirectMethodParameter)) {
        query += std::string(kRedirectMethodParameter) + "=" + exchange.method + "&";
    }
    query += std::string(kRedirectParameter) + "=" + std::to_string(remaining);
    response.set_redirect("http://127.0.0.1:" + std::to_string(port_) + exchange.path + "?" + query,
                          302);
}

void EmulatorServer::applyFault(const Fault& fault, httplib::Response& response) {
    if (fault.status != 0) response.status = fault.status;
    if (fault.body) response.set_content(*fault.body, "application/json");
    if (fault.notJson)
        response.set_content("<html><body>Service Unavailable</body></html>", "text/html");
    if (fault.emptyBody) response.set_content("", "application/json");
    if (fault.truncate) {
        // Announce the whole body, send half of it, then give up: the connection closes.
        std::string body = response.body;
        response.body.clear();
        std::size_t announced = body.empty() ? 16 : body.size();
        response.set_content_provider(announced, "application/json",
                                      [body](std::size_t, std::size_t, httplib::DataSink& sink) {
                                          sink.write(body.data(), body.size() / 2);
                                          return false;
                                      });
    }
}

// Closes the client's socket without a word. The library offers no handle on it, so its inode is
// found in the kernel's table by the two ports, then the descriptor by that inode: other threads'
// descriptors, which may be opening or closing meanwhile, are never touched.
void EmulatorServer::dropConnection(const httplib::Request& request) {
    std::ifstream table("/proc/net/tcp");
    std::string line, local, remote, inode, skip;
    std::getline(table, line);
    while (std::getline(table, line)) {
        std::istringstream fields(line);
        fields >> skip >> local >> remote;
        for (int i = 0; i < 7; ++i)
            fields >> inode;
        const auto port = [](const std::string& address) {
            return std::strtoul(address.substr(address.find(':') + 1).c_str(), nullptr, 16);
        };
        if (port(local) == static_cast<unsigned long>(request.local_port) &&
            port(remote) == static_cast<unsigned long>(request.remote_port)) {
            break;
        }
        inode.clear();
    }
    if (inode.empty()) return;
    const std::string target = "socket:[" + inode + "]";
    std::error_code ec;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd", ec)) {
        if (std::filesystem::read_symlink(entry.path(), ec).string() == target) {
            shutdown(std::atoi(entry.path().filename().c_str()), SHUT_RDWR);
            return;
        }
    }
}

void EmulatorServer::sendJson(httplib::Response& response, int status,
                              const PropertyValue& document) {
    auto bytes = JSONData(document);
    response.status = status;
    response.set_content(bytes ? std::string(bytes->begin(), bytes->end()) : std::string("{}"),
                         "application/json");
}

void EmulatorServer::handleAdmin(const Exchange& exchange, httplib::Response& response) {
    std::optional<PropertyValue> body = PropertyValue();
    if (!exchange.request.body.empty()) body = objectFromJSONData(exchange.request.body);
    PropertyValue result = PropertyValue::dictionary({{"success", true}});
    std::optional<std::string> problem = "the body is not JSON";
    if (body) {
        std::string name = exchange.path.substr(std::string(kAdminPrefix).size());
        problem = runAdmin(exchange.method + " " + name, *body, &result);
    }
    if (problem) {
        return sendJson(response, 400,
                        PropertyValue::dictionary({{"success", false}, {"error", *problem}}));
    }
    sendJson(response, 200, result);
}

std::optional<std::string> EmulatorServer::runAdmin(const std::string& operation,
                                                    const PropertyValue& body,
                                                    PropertyValue* result) {
    std::lock_guard lock(mutex_);
    changed_.notify_all();  // a pushed job, a reset or a seed: long polls look again
    if (operation == "POST reset") {
        state_.reset();
        log_.clear();
        faults_.clear();
    } else if (operation == "POST seed") {
        return state_.merge(body);
    } else if (operation == "GET pins") {
        *result = PropertyValue::dictionary({{"pins", state_.issuedPins()}});
    } else if (operation == "GET requests") {
        *result = log_.toValue();
    } else if (operation == "DELETE requests") {
        log_.clear();
    } else if (operation == "POST faults") {
        Fault fault;
        if (auto problem = FaultTable::parse(body, &fault)) return problem;
        faults_.add(std::move(fault));
    } else if (operation == "DELETE faults") {
        faults_.clear();
    } else if (operation == "GET state") {
        *result = state_.toValue();
    } else if (operation == "POST jobs") {
        return service_.pushJob(body, result);
    } else if (operation == "GET jobs") {
        *result = PropertyValue::dictionary({{"jobs", state_.jobs()}});
    } else {
        return "no admin operation " + operation;
    }
    return std::nullopt;
}

}  // namespace nbx::emulator
