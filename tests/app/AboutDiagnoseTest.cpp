// The About sheet's Diagnose button: the checks run on a worker, their lines appear after.
#include "AppHarness.h"

namespace nbx::test {
namespace {

TEST(AboutDiagnose, RunsTheChecksOnAWorkerAndShowsTheirLines) {
    AppHarness h;
    AppDelegate& d = h.launch();
    AboutSheet* about = d.window()->aboutSheet;
    d.window()->aboutAction->trigger();
    EXPECT_EQ(about->diagnoseButton()->accessibleName(), "Diagnose");
    EXPECT_EQ(about->diagnosis()->accessibleName(), "Diagnosis results");
    EXPECT_FALSE(about->diagnosis()->accessibleDescription().isEmpty());

    about->diagnoseButton()->click();
    // The worker is held: the main thread only shows that checks run.
    EXPECT_FALSE(about->diagnoseButton()->isEnabled());
    EXPECT_EQ(about->diagnosis()->toPlainText(), "Checking...");
    h.runWorkers();
    EXPECT_TRUE(about->diagnoseButton()->isEnabled());
    // The harness's lookup server is a closed port.
    const QString lines = about->diagnosis()->toPlainText();
    EXPECT_TRUE(lines.startsWith("FAIL  lookup")) << lines.toStdString();
    EXPECT_EQ(lines.count('\n'), 10) << lines.toStdString();
}

}  // namespace
}  // namespace nbx::test
