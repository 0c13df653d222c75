#include "FaultTable.h"

namespace nbx::emulator {
namespace {

constexpr int kMaxDelayMs = 600000;
constexpr int kMaxRedirects = 50;

std::optional<std::string> readInt(const PropertyValue& from, const char* key, int low, int high,
                                   int* out) {
    const PropertyValue& value = from[key];
    if (value.isNull()) return std::nullopt;
    auto number = value.integer();
    if (!number || value.isBoolean() || *number < low || *number > high) {
        return std::string("\"") + key + "\" must be an integer from " + std::to_string(low) +
               " to " + std::to_string(high);
    }
    *out = static_cast<int>(*number);
    return std::nullopt;
}

}  // namespace

std::optional<std::string> FaultTable::parse(const PropertyValue& description, Fault* fault) {
    if (!description.isDictionary()) return "a fault must be a JSON object";
    auto path = description["path"].string();
    if (!path || path->empty()) return "a fault needs a \"path\"";
    fault->path = *path;
    fault->method = description["method"].string().value_or("");
    if (description["body"].isString()) fault->body = description["body"].string();
    fault->emptyBody = description["emptyBody"].isTrue();
    fault->notJson = description["notJson"].isTrue();
    fault->truncate = description["truncate"].isTrue();
    fault->drop = description["drop"].isTrue();
    for (auto error : {readInt(description, "delayMs", 0, kMaxDelayMs, &fault->delayMs),
                       readInt(description, "status", 100, 599, &fault->status),
                       readInt(description, "redirects", 0, kMaxRedirects, &fault->redirects),
                       readInt(description, "times", 0, 1 << 30, &fault->times)}) {
        if (error) return error;
    }
    return std::nullopt;
}

void FaultTable::add(Fault fault) {
    faults_.push_back(std::move(fault));
}

void FaultTable::clear() {
    faults_.clear();
}

std::optional<Fault> FaultTable::take(const std::string& method, const std::string& path,
                                      const std::string& apiPath) {
    for (auto it = faults_.begin(); it != faults_.end(); ++it) {
        bool pathMatches = it->path == "*" || it->path == path || it->path == apiPath;
        if (!pathMatches || (!it->method.empty() && it->method != method)) continue;
        Fault fault = *it;
        if (it->times == 1) {
            faults_.erase(it);
        } else if (it->times > 1) {
            --it->times;
        }
        return fault;
    }
    return std::nullopt;
}

}  // namespace nbx::emulator
