#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace nbx {

// An IEEE 1284 device id: "KEY:value;" pieces, e.g. "MFG:Acme;MDL:Laser 1;CMD:PCL;".
class DeviceId {
public:
    struct Field {
        std::string key;  // upper-cased
        std::string value;
    };
    enum class Reading {
        Strict,   // only pieces a ';' ends; keys and values as written
        Lenient,  // the last piece may lack its ';'; blanks around keys and values dropped
    };

    // The pieces with a ':', in order; duplicates kept.
    static std::vector<Field> fields(std::string_view id, Reading reading);
    // The lenient value of the first piece named `key` or `longKey` ("MDL", "MODEL"); empty
    // when there is none.
    static std::string value(std::string_view id, std::string_view key,
                             std::string_view longKey = {});
};

}  // namespace nbx
