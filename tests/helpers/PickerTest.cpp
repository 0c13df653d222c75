#include <gtest/gtest.h>
#include <sys/wait.h>
#include <QDialogButtonBox>
#include <QPushButton>
#include <QSignalSpy>
#include <QTreeWidget>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "DeviceCatalogue.h"
#include "PickerArguments.h"
#include "PickerDialog.h"
#include "PrivateCupsd.h"
#include "PropertyListFile.h"
#include "QtTestApp.h"
#include "TempHome.h"

namespace nbx::picker {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;

const std::string kProgram = NBX_HELPER_DIR "/PDLM.app/Contents/MacOS/PDLM";

TEST(PickerArguments, ReturnFileIsRequired) {
    const std::string agentPath =
        "/home/u/Library/Application Support/Valmora/Nimbrix/PrinterInfo.plist";
    const std::pair<std::vector<std::string>, std::string> cases[] = {
        {{"-Type:ALL", "-ReturnInfo:/" + agentPath, "-", "Caller:Nimbrix", "-SkipList",
          "-singleselect"},
         agentPath},
        {{"--unknown", "-ReturnInfo:relative/x.plist"}, "relative/x.plist"},
        {{"-Type:ALL", "-SkipList"}, ""},
        {{"-ReturnInfo:"}, ""},
        {{"ReturnInfo:/x.plist"}, ""},
    };
    for (const auto& [args, path] : cases) {
        const auto parsed = parsePickerArguments(args);
        EXPECT_EQ(parsed ? parsed->returnInfoPath : "", path) << args.size();
    }
    EXPECT_EQ(std::system(("'" + kProgram + "' -Type:ALL 2>/dev/null").c_str()), 2 << 8);
}

TEST(DeviceDescription, ValuesFromIdAndUri) {
    const struct {
        const char *id, *makeAndModel, *uri;
        const char *model, *connection, *vid, *pid, *serial, *mac;
    } cases[] = {
        {"MFG:Acme;MDL:Laser 1;CMD:PCL;", "Acme Laser 1 Foo",
         "usb://Acme/Laser%201?serial=A%2F1&x=1", "Laser 1", "USB", "", "", "A/1", ""},
        {"MANUFACTURER:Acme; MODEL: Jet 2 ;", "", "socket://10.0.0.5:9100", "Jet 2", "Network", "",
         "", "", ""},
        {"", "Acme Laser 1", "file:///dev/null", "Acme Laser 1", "Local", "", "", "", ""},
        {"", "Unknown", "ipps://printer.local/ipp/print", "", "Network", "", "", "", ""},
        {"MFG:Acme;VID:4a9;PID:0x12Ab;SN:X9;", "", "usb://Acme/J?vid=nothex&pid=12345", "", "USB",
         "04A9", "12AB", "X9", ""},
        {"", "", "usb://Acme/J?vid=0x04a9&pid=1&mac=00-1b-a9-0c-dd-EE", "", "USB", "04A9", "0001",
         "", "00:1B:A9:0C:DD:EE"},
        {"", "", "hp:/net/Laser?ip=10.0.0.7&mac=001ba9", "", "Network", "", "", "", ""},
        {"MDL", "", "usb://%4?serial=%", "", "USB", "", "", "%", ""},
    };
    for (const auto& c : cases) {
        const DeviceEntry entry = describeDevice(c.id, c.makeAndModel, c.uri);
        EXPECT_EQ(entry.modelName, c.model) << c.uri;
        EXPECT_EQ(entry.connectionType, c.connection) << c.uri;
        EXPECT_EQ(entry.vid, c.vid) << c.uri;
        EXPECT_EQ(entry.pid, c.pid) << c.uri;
        EXPECT_EQ(entry.serialNumber, c.serial) << c.uri;
        EXPECT_EQ(entry.macAddress, c.mac) << c.uri;
        EXPECT_EQ(entry.address, c.uri);
    }
}

int runCommand(const std::string& command) {
    const int status = std::system((command + " >/dev/null 2>&1").c_str());
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

constexpr const char* kDeviceId = "MFG:Acme;MDL:Laser 1;CMD:PCL;";
constexpr const char* kQueue = "Acme_Laser";

// A raw printer description whose 1284 id the scheduler reports as the queue's device id.
constexpr const char* kPpd = R"ppd(*PPD-Adobe: "4.3"
*ModelName: "Acme Laser 1"
*NickName: "Acme Laser 1"
*1284DeviceID: "MFG:Acme;MDL:Laser 1;CMD:PCL;"
*OpenUI *PageSize: PickOne
*DefaultPageSize: Letter
*PageSize Letter: "<</PageSize[612 792]>>setpagedevice"
*CloseUI: *PageSize
)ppd";

// A back end reporting a USB printer without a queue and the networked one behind Acme_Net.
constexpr const char* kDevicesBackend = R"sh(#!/bin/sh
echo 'direct usb://Acme/Laser%201?serial=SN42 "Acme Laser 1" "Acme Laser 1 (USB)" "MFG:Acme;MDL:Laser 1;" ""'
echo 'network socket://127.0.0.1:9 "Acme Jet" "Acme Jet (network)" "MFG:Acme;MDL:Jet;" ""'
)sh";

class PickerCupsTest : public test::PrivateCupsdTest, public test::QtAppUser {
protected:
    void SetUp() override {
        PrivateCupsdTest::SetUp();
        if (IsSkipped()) return;
        const fs::path backend = cupsd().folder() / "serverbin/backend/acme";
        std::ofstream(backend) << kDevicesBackend;
        fs::permissions(backend, fs::perms::owner_all | fs::perms::group_read |
                                     fs::perms::group_exec | fs::perms::others_read |
                                     fs::perms::others_exec);
        const std::string ppd = home_.path() + "/acme.ppd";
        std::ofstream(ppd) << kPpd;
        ASSERT_EQ(runCommand(std::string("lpadmin -p ") + kQueue +
                             " -D 'Front Office' -v file:///dev/null -P " + ppd + " -E"),
                  0)
            << cupsd().errorLog();
        ASSERT_EQ(runCommand("lpadmin -p Acme_Net -v socket://127.0.0.1:9 -E"), 0);
        // The agent's own cloud queue, which must never be offered.
        ASSERT_EQ(runCommand("lpadmin -p _Nimbrix_ -v nbxbackend://nbxaddress?addr=h -E"), 0)
            << cupsd().errorLog();
    }
    void TearDown() override {
        if (IsSkipped()) return;
        runCommand(std::string("lpadmin -x ") + kQueue);
        runCommand("lpadmin -x Acme_Net");
        runCommand("lpadmin -x _Nimbrix_");
    }
    static int rowOf(const std::vector<DeviceEntry>& entries, const std::string& address) {
        for (std::size_t i = 0; i < entries.size(); ++i)
            if (entries[i].address == address) return static_cast<int>(i);
        return -1;
    }

    test::TempHome home_;
};

TEST_F(PickerCupsTest, CatalogueListsQueueWithItsDeviceId) {
    const auto entries = listCatalogue(1s);
    const int row = rowOf(entries, kQueue);
    ASSERT_GE(row, 0);
    const DeviceEntry& queue = entries[row];
    EXPECT_TRUE(queue.isQueue);
    EXPECT_EQ(queue.displayName, "Front Office");
    EXPECT_EQ(queue.deviceId, kDeviceId);
    EXPECT_EQ(queue.modelName, "Laser 1");
    EXPECT_EQ(queue.connectionType, "Local");
    const int usb = rowOf(entries, "usb://Acme/Laser%201?serial=SN42");
    ASSERT_GT(usb, row) << "devices follow the queues";
    EXPECT_FALSE(entries[usb].isQueue);
    EXPECT_EQ(entries[usb].displayName, "Acme Laser 1 (USB)");
    EXPECT_EQ(entries[usb].serialNumber, "SN42");
    EXPECT_GE(rowOf(entries, "Acme_Net"), 0);
    for (const DeviceEntry& entry : entries) {
        EXPECT_NE(entry.address, "_Nimbrix_");
        EXPECT_NE(entry.address, "socket://127.0.0.1:9") << "already a queue";
    }

    // The agent reads an array holding one dictionary with every key as text.
    const std::string path = home_.path() + "/made/on/demand/PrinterInfo.plist";
    ASSERT_TRUE(writePrinterInfo(path, queue));
    const auto written = readPropertyListFile(path);
    ASSERT_TRUE(written && written->isArray() && written->size() == 1u);
    const PropertyValue& info = written->at(0);
    const std::pair<const char*, std::string> keys[] = {{"ModelName", "Laser 1"},
                                                        {"DeviceID", kDeviceId},
                                                        {"ConnectionType", "Local"},
                                                        {"VID", ""},
                                                        {"PID", ""},
                                                        {"SerialNumber", ""},
                                                        {"MACAddress", ""},
                                                        {"Address", kQueue}};
    EXPECT_EQ(info.size(), std::size(keys));
    for (const auto& [key, value] : keys)
        EXPECT_EQ(info[key].string(), value) << key;
    EXPECT_FALSE(writePrinterInfo("/proc/no/such/PrinterInfo.plist", queue));
}

TEST_F(PickerCupsTest, OkWritesTheChosenRowAndCancelNothing) {
    for (const bool ok : {true, false}) {
        const std::string path = home_.path() + (ok ? "/ok.plist" : "/cancel.plist");
        PickerDialog dialog(path);
        QSignalSpy listed(&dialog, &PickerDialog::listed);
        dialog.startListing([](const PickerDialog::Show& show) { listCatalogue(1s, show); });
        dialog.show();
        ASSERT_TRUE(listed.wait(30000));
        auto* list = dialog.findChild<QTreeWidget*>("devices");
        QPushButton* okButton = dialog.findChild<QDialogButtonBox*>()->button(QDialogButtonBox::Ok);
        ASSERT_TRUE(list && okButton);
        EXPECT_FALSE(okButton->isEnabled());
        const int row = rowOf(dialog.entries(), kQueue);
        ASSERT_GE(row, 0);
        list->setCurrentItem(list->topLevelItem(row));
        ASSERT_TRUE(okButton->isEnabled());
        if (ok) {
            okButton->click();
        } else {
            dialog.close();
        }
        EXPECT_EQ(dialog.result(), ok ? QDialog::Accepted : QDialog::Rejected);
        const auto written = readPropertyListFile(path);
        EXPECT_EQ(written.has_value(), ok);
        if (written) {
            EXPECT_EQ(written->at(0)["Address"].string(), kQueue);
        }
    }
}

}  // namespace
}  // namespace nbx::picker
