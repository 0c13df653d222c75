#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "PropertyValue.h"

namespace nbx {

// A codec failure as the error-reporting entry points give it.
struct JSONError {
    static constexpr const char* kDomain = "JKErrorDomain";
    std::string description;       // one of the codec's fixed messages
    std::uint64_t atIndex = 0;     // byte index of the failure ("JKAtIndexKey")
    std::uint64_t lineNumber = 0;  // "JKLineNumberKey"
    // { "NSLocalizedDescription", "JKAtIndexKey", "JKLineNumberKey" }
    PropertyValue userInfo() const;
};

// Strict decoder (RFC 8259 with a top level of "[" or "{" only). Nesting deeper than kMaxDepth
// is an error. In an object a repeated key keeps its first place and takes its last value.
class JSONDecoder {
public:
    static constexpr int kMaxDepth = 512;
    enum ParseOptions : unsigned { Strict = 0 };

    explicit JSONDecoder(unsigned parseOptions = Strict) : options_(parseOptions) {}
    // None on any error; `error` (may be null) says which.
    std::optional<PropertyValue> objectWithData(const Bytes* data, JSONError* error) const;
    std::optional<PropertyValue> objectWithUTF8String(std::string_view text,
                                                      JSONError* error) const;

private:
    [[maybe_unused]] unsigned options_;
};

// Compact encoder of a dictionary or an array. Strings must be valid UTF-8 and nesting no
// deeper than the decoder accepts.
class JKSerializer {
public:
    static std::optional<std::string> serializeObject(const PropertyValue& object,
                                                      JSONError* error);
};

// The client's two entry points; errors are discarded.
std::optional<PropertyValue> objectFromJSONData(const Bytes* data);
std::optional<PropertyValue> objectFromJSONData(std::string_view data);
std::optional<Bytes> JSONData(const PropertyValue& object);

}  // namespace nbx
