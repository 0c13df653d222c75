// The agent's reading of the arguments the back end starts it with.
#include <gtest/gtest.h>

#include <climits>

#include "LaunchArguments.h"

namespace nbx {
namespace {

std::string readBack(const LaunchArguments& a) {
    return std::to_string(a.totalPages) + "|" + a.colorModel + "|" + a.duplex + "|" + a.paperSize +
           "|" + a.copies + "|" + a.targetPath;
}

TEST(LaunchArguments, ValuesStartAfterOneLeadingCharacterAndTheKey) {
    // Read back as pages|color|duplex|paper|copies|target.
    const std::pair<std::vector<std::string>, std::string> cases[] = {
        {{"-TotalPages:3"}, "3|||||"},
        {{"TotalPages:3"}, "0|||||"},  // no leading character: the digit is lost
        {{"TotalPages:34"}, "4|||||"},
        {{"-TotalPages:12abc"}, "12|||||"},
        {{"-TotalPages: \t7"}, "7|||||"},
        {{"-TotalPages:"}, "0|||||"},
        {{"-TotalPages:99999999999999999999"}, std::to_string(INT_MAX) + "|||||"},
        {{"-TotalPages:-99999999999999999999"}, std::to_string(INT_MIN) + "|||||"},
        {{"-TotalPages:-5"}, "-5|||||"},
        {{"-ColorModel:Gray", "-Duplex:DuplexNoTumble", "-PaperSize:A4", "-TotalCopies:2"},
         "0|Gray|DuplexNoTumble|A4|2|"},
        {{"-nbxtarget:/tmp/jobs/target.plist"}, "0|||||/tmp/jobs/target.plist"},
        {{"-nbxtarget:/tmp/a:b/target.plist"}, "0|||||b/target.plist"},  // after the last ':'
        {{"nbxtarget:", "-Something:else"}, "0|||||"},
        {{"-Duplex:x", "-Duplex:y"}, "0||y|||"},  // the last one counts
        // Read for every key it holds, each value counted from the argument's start.
        {{"-PaperSize:A4ColorModel:Gray"}, "0|4ColorModel:Gray||A4ColorModel:Gray||"},
    };
    for (const auto& [arguments, read] : cases)
        EXPECT_EQ(readBack(LaunchArguments::parse(arguments)), read) << arguments.front();
}

TEST(LaunchArguments, WhatTheBackEndWritesReadsBackUnchanged) {
    const LaunchArguments written{-3, "Gray", "DUPLEXLONG", "EXCUTIVE", "12", "/var/spool/x.plist"};
    EXPECT_EQ(readBack(LaunchArguments::parse(written.arguments())), readBack(written));
}

}  // namespace
}  // namespace nbx
