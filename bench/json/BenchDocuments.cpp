#include "BenchDocuments.h"

#include <cstdio>
#include <random>

namespace nbx::bench {

namespace {

// Names with and without accents, as friends' names arrive.
const char* const kFirstNames[] = {"Anna", "Jos\xC3\xA9",  "Mei", "\xE6\x9D\x8E",
                                   "Ola",  "S\xC3\xB8ren", "Kim", "Zo\xC3\xAB"};
const char* const kLastNames[] = {"Park",
                                  "M\xC3\xBCller",
                                  "Tanaka",
                                  "\xE7\x8E\x8B",
                                  "Smith",
                                  "Garc\xC3\xAD"
                                  "a",
                                  "Nowak",
                                  "Lee"};
const char* const kModels[] = {"Valmora CLX-9301 Series", "Valmora M2020 Series",
                               "Valmora ProXpress C3060", "Valmora SL-J1760W"};
const char* const kTypes[] = {"PC_AGENT", "PRT_AGENT", "POST_AGENT"};

template <typename... Args>
std::string format(const char* pattern, Args... args) {
    char buffer[512];
    const int n = std::snprintf(buffer, sizeof buffer, pattern, args...);
    return std::string(buffer, static_cast<std::size_t>(n));
}

std::string agentRecord(std::mt19937& random, int index, bool friends) {
    const bool colour = random() % 2 == 0;
    const auto level = [&](bool present) { return present ? int(random() % 101) : -1; };
    const unsigned mac = random();
    std::string r = format(
        "{\"agentId\":\"AG%08d%04X\",\"agentAlias\":\"Printer %d on floor %d\","
        "\"agentModelName\":\"%s\",\"agentMacAddress\":\"00:15:99:%02X:%02X:%02X,"
        "00:15:99:%02X:%02X:%02X\",\"agentType\":\"%s\",",
        index, mac & 0xFFFF, index, index % 12, kModels[random() % 4], mac >> 24,
        (mac >> 16) & 0xFF, (mac >> 8) & 0xFF, mac >> 24, (mac >> 16) & 0xFF, (mac + 1) & 0xFF,
        kTypes[random() % 3]);
    r += format(
        "\"isPaidDevice\":%s,\"isSharedDevice\":%d,\"currKTonerLevel\":%d,"
        "\"currCTonerLevel\":%d,\"currMTonerLevel\":%d,\"currYTonerLevel\":%d,",
        random() % 10 == 0 ? "true" : "false", friends ? 1 : 0, level(true), level(colour),
        level(colour), level(colour));
    r += format(
        "\"tonerOrderingURL\":\"https://supplies.nimbrix.example/order?model=%d&agent=AG%08d\","
        "\"supportedColor\":%s,\"supportedMediaSize\":\"A4,LETTER,LEGAL,EXCUTIVE\","
        "\"supportedSides\":\"DUPLEX/SIMPLEX\"",
        int(random() % 9000), index, colour ? "true" : "false");
    if (friends)
        r += format(",\"friendUserId\":\"U%010u\",\"firstName\":\"%s\",\"lastName\":\"%s\"",
                    unsigned(random()), kFirstNames[random() % 8], kLastNames[random() % 8]);
    return r + "}";
}

}  // namespace

std::string agentListDocument() {
    std::mt19937 random(7);
    std::string doc = "{\"success\":true,\"agentList\":[";
    for (int i = 0; i < 1000; ++i) {
        if (i) doc += ',';
        doc += agentRecord(random, i, false);
    }
    doc += "],\"friendAgentList\":[";
    for (int i = 0; i < 1000; ++i) {
        if (i) doc += ',';
        doc += agentRecord(random, 1000 + i, true);
    }
    return doc + "]}";
}

std::string numberDocument() {
    std::mt19937_64 random(11);
    std::uniform_real_distribution<double> real(-1000.0, 1000.0);
    std::string doc = "{\"samples\":[";
    for (int i = 0; i < 20000; ++i) {
        const long long big = static_cast<long long>(random() >> 1);
        doc +=
            format("%s[%d,%lld,%.17g,%.6g,%.3e,%llu]", i ? "," : "", i - 10000, -big, real(random),
                   real(random), real(random) * 1e200, static_cast<unsigned long long>(random()));
    }
    return doc + "]}";
}

std::string stringDocument() {
    static const char* const kPieces[] = {
        "Hello, world. ",
        "Line one\\nLine two\\tTabbed ",
        "She said \\\"print it\\\" \\\\ then left. ",
        "caf\xC3\xA9 cr\xC3\xA8me br\xC3\xBBl\xC3\xA9"
        "e ",
        "\xE6\x97\xA5\xE6\x9C\xAC\xE8\xAA\x9E\xE3\x81\xAE\xE6\x96\x87\xE6\x9B\xB8 ",
        "\\u00e9\\u00e8\\u4e2d\\u6587 ",
        "emoji \xF0\x9F\x96\xA8\xEF\xB8\x8F \\ud83d\\ude00 ",
        "path/to/file.pdf ",
        "\xD0\x9F\xD1\x80\xD0\xB8\xD0\xB2\xD0\xB5\xD1\x82 ",
    };
    std::mt19937 random(13);
    std::string doc = "[";
    for (int i = 0; i < 12000; ++i) {
        doc += i ? ",\"" : "\"";
        const int pieces = 1 + int(random() % 6);
        for (int p = 0; p < pieces; ++p)
            doc += kPieces[random() % 9];
        doc += "\"";
    }
    return doc + "]";
}

}  // namespace nbx::bench
