#include "JobOptions.h"

#include <gtest/gtest.h>

namespace nbx::backend {
namespace {

TEST(JobOptions, SchedulerWordsBecomeTheAgentsArguments) {
    struct Case {
        const char* copies;
        const char* options;
        std::vector<std::string> expected;  // colour, duplex, paper, copies
    };
    const Case cases[] = {
        {"1", "", {"RGBA", "None", "A4", "1"}},
        {"3",
         "ColorModel=Gray Duplex=DuplexNoTumble PageSize=Letter",
         {"Gray", "DUPLEXLONG", "LETTER", "3"}},
        {"2",
         "print-color-mode=monochrome sides=two-sided-short-edge media=na_executive_7.25x10.5in",
         {"Gray", "DUPLEXSHORT", "EXCUTIVE", "2"}},
        {"1", "ColorModel=RGB sides=one-sided PageSize=Folio", {"RGBA", "None", "FOLIO", "1"}},
        // Hostile or odd values never reach the agent as they are.
        {"-4",
         "PageSize='a3:-nbxtarget:/etc/x' job-sheets=none",
         {"RGBA", "None", "A3-NBXTARGETETCX", "1"}},
        {"99999999999", "media=iso_a5_148x210mm,tray-1", {"RGBA", "None", "A5", "1"}},
        {"100000", "", {"RGBA", "None", "A4", "9999"}},
    };
    for (const Case& c : cases) {
        const JobOptions job = JobOptions::parse(c.copies, c.options);
        const std::vector<std::string> expected = {"-TotalPages:7",
                                                   "-ColorModel:" + c.expected[0],
                                                   "-Duplex:" + c.expected[1],
                                                   "-PaperSize:" + c.expected[2],
                                                   "-TotalCopies:" + c.expected[3],
                                                   "-nbxtarget:/t.plist"};
        EXPECT_EQ(job.agentArguments(7, "/t.plist"), expected) << c.options;
    }
}

}  // namespace
}  // namespace nbx::backend
