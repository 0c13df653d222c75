// Reads arbitrary bytes as a property-list file (XML or binary); whatever reads must write as
// XML and read back as the same values.
#include <cmath>
#include <cstdint>
#include <cstdlib>

#include "MemoryFile.h"
#include "PropertyListFile.h"

namespace {

using nbx::PropertyValue;

// As ==, but a NaN equals a NaN: the file keeps "nan" as it is.
bool same(const PropertyValue& a, const PropertyValue& b) {
    if (a.type() == PropertyValue::Type::Real && b.type() == PropertyValue::Type::Real &&
        std::isnan(*a.real()) && std::isnan(*b.real()))
        return true;
    if (const auto* array = a.arrayPtr()) {
        if (!b.isArray() || array->size() != b.size()) return false;
        for (std::size_t i = 0; i < array->size(); ++i)
            if (!same((*array)[i], b.at(i))) return false;
        return true;
    }
    if (const auto* dict = a.dictionaryPtr()) {
        if (!b.isDictionary() || dict->size() != b.size()) return false;
        for (const auto& [key, value] : *dict) {
            const PropertyValue* other = b.dictionaryPtr()->find(key);
            if (!other || !same(value, *other)) return false;
        }
        return true;
    }
    return a == b;
}

// XML cannot carry a NUL character, so a text holding one is refused by the writer.
bool holdsNul(const PropertyValue& value) {
    if (const auto* text = value.stringPtr()) return text->find('\0') != std::string::npos;
    if (const auto* array = value.arrayPtr()) {
        for (const auto& item : *array)
            if (holdsNul(item)) return true;
    }
    if (const auto* dict = value.dictionaryPtr()) {
        for (const auto& [key, item] : *dict)
            if (key.find('\0') != std::string::npos || holdsNul(item)) return true;
    }
    return false;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static MemoryFile input, output;
    const auto value = nbx::readPropertyListFile(input.hold(data, size));
    if (!value) return 0;
    // The writer takes only containers; a lone value travels in an array.
    PropertyValue written = *value;
    if (!written.isArray() && !written.isDictionary()) written = nbx::PropertyArray{*value};
    if (!nbx::writePropertyListFile(output.path(), written)) {
        if (!holdsNul(written)) std::abort();
        return 0;
    }
    const auto again = nbx::readPropertyListFile(output.path());
    if (!again || !same(written, *again)) std::abort();
    return 0;
}
