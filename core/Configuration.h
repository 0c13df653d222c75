#pragma once

#include <string>

namespace nbx {

// The one place where values that differ between a user's machine, a developer's machine and
// a test are decided. Each has a product default and an NBX_... environment override; nothing
// else in the code branches on them.
namespace Configuration {

// Folder of the helper applications (NBX_HELPER_FOLDER).
std::string helperApplicationFolder();
// The polling agent program that serves a printer this computer shares (NBX_POLLING_AGENT);
// by default "nbx-polling-agent" in the helper folder.
std::string pollingAgentProgram();
// Printer description file the print queue is made with (NBX_PPD_FILE).
std::string printerDescriptionFile();
// host:port of the service lookup server (NBX_LOOKUP_SERVER).
std::string lookupServer();
// Host named in the print queue's device URI (NBX_DEVICE_HOST).
std::string deviceUriHost();
// Folder holding Info.plist, languageXML/ and images/ (NBX_RESOURCES); by default the
// share/nimbrix folder beside the program's bin/ folder, in the build tree and installed alike.
std::string resourcesFolder();
// The agent program the print back end starts for a job (NBX_AGENT_PROGRAM); by default the
// installed one.
std::string agentProgram();
// Folder of a user's login session, where its bus listens as "bus" (NBX_SESSION_FOLDER); by
// default /run/user/UID.
std::string sessionFolder(unsigned uid);
// Home folder of the user a print job belongs to (NBX_JOB_HOME); by default the one the user
// database names.
std::string jobUserHome(const std::string& fromUserDatabase);
// Folder of the country flag pictures, one "<alpha2>.png" each (NBX_FLAGS_FOLDER).
std::string flagsFolder();
// The scheduler's ServerBin folder, whose backend/ subfolder holds the back ends
// (NBX_CUPS_SERVERBIN).
std::string cupsServerBin();

}  // namespace Configuration
}  // namespace nbx
