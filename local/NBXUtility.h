#pragma once

#include <optional>
#include <string>

#include "PropertyValue.h"

namespace nbx {

// Folders, well-known paths and small checks shared by the whole agent.
class NBXUtility {
public:
    // The application's information dictionary (Info.plist in the resources folder); the null
    // value when it cannot be read.
    static PropertyValue infoDictionary();
    // True only for a "DEBUG" entry that is a true number or boolean.
    static bool checkIfDebugIsEnabledInBundle();
    // A fresh folder under /tmp/NBX_BE, made once per process; "/tmp" when it cannot be made.
    static std::string pathToDebugFolder();
    // The path when it exists or could be made with its parents, else "/tmp".
    static std::string createFolderPath(const std::string& path);

    static std::string homeFolder();
    // The user's temporary folder, always ending in "/".
    static std::string temporaryFolder();
    static std::string appSupportPathForNBX();
    static std::string appSupportPathForNBXPollingInfomation();
    static std::string appSupportPathForNBXPollingJobDownloadedFolder();
    static std::string pathToJobPlistFileFromNBXSetting();

    static bool isThisXMLContent(const Bytes& content);
    // The service's access token kept enciphered in "va.plist"; nothing when absent.
    static std::optional<std::string> valmoraAccessToken();
    static std::string safeStringFromNSData(const Bytes* bytes);
};

}  // namespace nbx
