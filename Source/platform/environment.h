#pragma once

#include <skar/codes.h>

#include <string>

// The settings that an installation keeps for the programs it depends on. They stand in two INI files,
// skar/registry.ini in the first of XDG_CONFIG_DIRS that has one (the local machine) and under
// XDG_CONFIG_HOME (the current user). A section is a key, named by its whole path with backslashes:
//
//     [Software\MORVA\SKAR]
//     Version = 11.3
//     [Software\MORVA\SKAR\11.3\prerequisites]
//     positioning = MORVA\Positioning\2.0
//     [Software\MORVA\SKAR\11.3\environment variables]
//     PATH = /opt/skar/bin
//
// Names of sections and values are compared without regard to case.
namespace skar::platform {

enum EnvironmentFailure : int {
    registryMissing = codes::environment,
    versionMissing,
    settingsMissing,
};

// Finds the installation's version and applies its settings. 0, or one of the above.
int setUpEnvironment();

// Applies the settings of a key below "Software" and of its prerequisites, in the local machine's file, then
// the current user's: sets variables and adds to PATH, or with `update` off prints the commands that would. 1
// if there is such a key, else 0.
int applyEnvironment(const std::string& keyPath, bool update);

} // namespace skar::platform
