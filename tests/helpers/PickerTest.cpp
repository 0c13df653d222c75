#include <gtest/gtest.h>
#include <QDialogButtonBox>
#include <QPushButton>
#include <QSignalSpy>
#include <QTreeWidget>

#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "DeviceCatalogue.h"
#include "JSONKit.h"
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

// Model, connection, VID, PID, serial number and MAC address.
std::string fieldsOf(const DeviceEntry& e) {
    return e.modelName + "|" + e.connectionType + "|" + e.vid + "|" + e.pid + "|" + e.serialNumber +
           "|" + e.macAddress;
}

TEST(DeviceDescription, ValuesFromIdAndUri) {
    const struct {
        const char *id, *makeAndModel, *uri, *fields;
    } cases[] = {
        {"MFG:Acme;MDL:Laser 1;CMD:PCL;", "Acme Laser 1 Foo",
         "usb://Acme/Laser%201?serial=A%2F1&x=1", "Laser 1|USB|||A/1|"},
        {"MANUFACTURER:Acme; MODEL: Jet 2 ;", "", "socket://10.0.0.5:9100", "Jet 2|Network||||"},
        {"", "Acme Laser 1", "file:///dev/null", "Acme Laser 1|Local||||"},
        {"", "Unknown", "ipps://printer.local/ipp/print", "|Network||||"},
        {"MFG:Acme;VID:4a9;PID:0x12Ab;SN:X9;", "", "usb://Acme/J?vid=nothex&pid=12345",
         "|USB|04A9|12AB|X9|"},
        {"", "", "usb://Acme/J?vid=0x04a9&pid=1&mac=00-1b-a9-0c-dd-EE",
         "|USB|04A9|0001||00:1B:A9:0C:DD:EE"},
        {"", "", "hp:/net/Laser?ip=10.0.0.7&mac=001ba9", "|Network||||"},
        {"MDL", "", "usb://%4?serial=%", "|USB|||%|"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(fieldsOf(describeDevice(c.id, c.makeAndModel, c.uri)), c.fields) << c.uri;
}

constexpr const char* kQueue = "Acme_Laser";

// A raw printer description whose 1284 id the scheduler reports as the queue's device id.
constexpr const char* kPpd = R"ppd(*PPD-Adobe: "4.3"
*ModelName: "Acme Laser 1"
*NickName: "Acme Laser 1"
*1284DeviceID: "MFG:Acme;MDL:Laser 1;CMD:PCL;"
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
        fs::permissions(backend, fs::perms(0755));
        const std::string ppd = home_.path() + "/acme.ppd";
        std::ofstream(ppd) << kPpd;
        // _Nimbrix_ is the agent's own cloud queue, which must never be offered.
        const std::string queues = std::string("lpadmin -p ") + kQueue + " -D 'Front Office' -v " +
                                   "file:///dev/null -P " + ppd + " -E && lpadmin -p Acme_Net -v " +
                                   "socket://127.0.0.1:9 -E && lpadmin -p _Nimbrix_ -v " +
                                   "nbxbackend://nbxaddress?addr=h -E >/dev/null 2>&1";
        ASSERT_EQ(std::system(queues.c_str()), 0) << cupsd().errorLog();
    }
    void TearDown() override {
        if (!IsSkipped())
            std::system(
                "(lpadmin -x Acme_Laser; lpadmin -x Acme_Net; lpadmin -x _Nimbrix_) 2>/dev/null");
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
    const int row = rowOf(entries, kQueue),
              usb = rowOf(entries, "usb://Acme/Laser%201?serial=SN42");
    ASSERT_GE(row, 0);
    const DeviceEntry& queue = entries[row];
    EXPECT_TRUE(queue.isQueue);
    EXPECT_EQ(queue.displayName, "Front Office");
    ASSERT_GT(usb, row) << "devices follow the queues";
    EXPECT_FALSE(entries[usb].isQueue);
    EXPECT_EQ(entries[usb].displayName, "Acme Laser 1 (USB)");
    EXPECT_EQ(fieldsOf(entries[usb]), "Laser 1|USB|||SN42|");
    EXPECT_GE(rowOf(entries, "Acme_Net"), 0);
    EXPECT_LT(rowOf(entries, "_Nimbrix_"), 0);
    EXPECT_LT(rowOf(entries, "socket://127.0.0.1:9"), 0) << "already a queue";

    // The agent reads an array holding one dictionary with every key as text: the queue's.
    const std::string path = home_.path() + "/made/on/demand/PrinterInfo.plist";
    ASSERT_TRUE(writePrinterInfo(path, queue));
    const auto written = readPropertyListFile(path);
    ASSERT_TRUE(written && written->isArray() && written->size() == 1u);
    const auto expected = objectFromJSONData(R"({"ModelName":"Laser 1","ConnectionType":"Local",
        "DeviceID":"MFG:Acme;MDL:Laser 1;CMD:PCL;","VID":"","PID":"","SerialNumber":"",
        "MACAddress":"","Address":"Acme_Laser"})");
    EXPECT_EQ(written->at(0), expected) << written->description();
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
        auto* buttons = dialog.findChild<QDialogButtonBox*>();
        ASSERT_TRUE(list && buttons);
        QPushButton* okButton = buttons->button(QDialogButtonBox::Ok);
        EXPECT_FALSE(okButton->isEnabled());
        const int row = rowOf(dialog.entries(), kQueue);
        ASSERT_GE(row, 0);
        list->setCurrentItem(list->topLevelItem(row));
        ASSERT_TRUE(okButton->isEnabled());
        buttons->button(ok ? QDialogButtonBox::Ok : QDialogButtonBox::Cancel)->click();
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
