#include "Report.h"

#include <algorithm>

#include "JSONKit.h"
#include "PropertyValue.h"

namespace nbx::doctor {

namespace {

// A file name found on disk may be any bytes; the encoder takes only UTF-8.
PropertyValue utf8(const std::string& text) {
    if (isValidUtf8(text)) return text;
    std::string safe = text;
    for (char& c : safe)
        if (static_cast<unsigned char>(c) >= 0x80) c = '?';
    return safe;
}

}  // namespace

bool Report::allPassed() const {
    return std::all_of(checks_.begin(), checks_.end(), [](const auto& c) { return c.ok; });
}

std::string Report::text() const {
    std::string lines;
    for (const CheckResult& check : checks_) {
        std::string name = check.name;
        name.resize(std::max<std::size_t>(name.size(), 9), ' ');
        lines += (check.ok ? "ok    " : "FAIL  ") + name + check.detail;
        if (!check.ok && !check.remedy.empty()) lines += " -> " + check.remedy;
        lines += '\n';
    }
    return lines;
}

std::string Report::json() const {
    PropertyValue checks = PropertyValue::array();
    for (const CheckResult& check : checks_) {
        checks.append(PropertyValue::dictionary({{"name", check.name},
                                                 {"ok", check.ok},
                                                 {"detail", utf8(check.detail)},
                                                 {"remedy", utf8(check.remedy)}}));
    }
    const PropertyValue report =
        PropertyValue::dictionary({{"ok", allPassed()}, {"checks", std::move(checks)}});
    return JKSerializer::serializeObject(report, nullptr).value_or("{}");
}

}  // namespace nbx::doctor
