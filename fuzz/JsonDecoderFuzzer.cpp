// Decodes arbitrary bytes; whatever decodes must encode and decode again to the same values.
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "JSONKit.h"

namespace {

using nbx::PropertyValue;

// Integral doubles come back as integers ("%.17g" of 3.0 is "3"), so numbers compare by value.
bool sameValue(const PropertyValue& a, const PropertyValue& b) {
    const bool aNumber = a.isNumber() && !a.isBoolean();
    const bool bNumber = b.isNumber() && !b.isBoolean();
    if (aNumber && bNumber &&
        (a.type() == PropertyValue::Type::Real || b.type() == PropertyValue::Type::Real))
        return *a.real() == *b.real();
    if (a.type() != b.type() && !(a.isInteger() && b.isInteger())) return false;
    if (const auto* array = a.arrayPtr()) {
        if (array->size() != b.size()) return false;
        for (std::size_t i = 0; i < array->size(); ++i)
            if (!sameValue((*array)[i], b.at(i))) return false;
        return true;
    }
    if (const auto* dict = a.dictionaryPtr()) {
        if (dict->size() != b.size()) return false;
        for (const auto& [key, value] : *dict) {
            const PropertyValue* other = b.dictionaryPtr()->find(key);
            if (!other || !sameValue(value, *other)) return false;
        }
        return true;
    }
    return a == b;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const auto value =
        nbx::objectFromJSONData(std::string_view(reinterpret_cast<const char*>(data), size));
    if (!value) return 0;
    const auto encoded = nbx::JSONData(*value);
    if (!encoded) std::abort();
    const auto again = nbx::objectFromJSONData(&*encoded);
    if (!again || !sameValue(*value, *again)) std::abort();
    return 0;
}
