#include "DeviceId.h"

#include <gtest/gtest.h>

namespace nbx {
namespace {

std::string joined(const std::vector<DeviceId::Field>& fields) {
    std::string text;
    for (const auto& [key, value] : fields)
        text += "[" + key + "=" + value + "]";
    return text;
}

TEST(DeviceId, StrictAndLenientReadings) {
    const struct {
        const char* id;
        const char* strict;
        const char* lenient;
    } cases[] = {
        {"MFG:Acme;mdl:X1;", "[MFG=Acme][MDL=X1]", "[MFG=Acme][MDL=X1]"},
        {"MFG:Acme;MDL:X1", "[MFG=Acme]", "[MFG=Acme][MDL=X1]"},
        {" model : Jet 2 ;", "[ MODEL = Jet 2 ]", "[MODEL=Jet 2]"},
        {"CMD:PCL:PS;;NOCOLON;:v;K:;", "[CMD=PCL:PS][=v][K=]", "[CMD=PCL:PS][=v][K=]"},
        {"MDL:a;MDL:b;", "[MDL=a][MDL=b]", "[MDL=a][MDL=b]"},
        {"", "", ""},
        {"MDL", "", ""},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(joined(DeviceId::fields(c.id, DeviceId::Reading::Strict)), c.strict) << c.id;
        EXPECT_EQ(joined(DeviceId::fields(c.id, DeviceId::Reading::Lenient)), c.lenient) << c.id;
    }
}

TEST(DeviceId, ValueOfTheFirstPieceUnderEitherName) {
    const char* id = "MANUFACTURER:Acme; MODEL: Jet 2 ;MDL:X1;SN:9";
    EXPECT_EQ(DeviceId::value(id, "MDL", "MODEL"), "Jet 2");
    EXPECT_EQ(DeviceId::value(id, "MDL"), "X1");
    EXPECT_EQ(DeviceId::value(id, "SN", "SERIALNUMBER"), "9");
    EXPECT_EQ(DeviceId::value(id, "VID"), "");
}

}  // namespace
}  // namespace nbx
