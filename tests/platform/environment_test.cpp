#include "platform/environment.h"
#include "support/temporary_directory.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <map>
#include <optional>

using namespace skar::platform;
using skar::tests::TemporaryDirectory;

namespace {

class Environment : public testing::Test {
protected:
    Environment() {
        change("XDG_CONFIG_DIRS", (dir / "machine").string());
        change("XDG_CONFIG_HOME", (dir / "user").string());
        change("PATH", "/bin:/usr/bin");
        change("SKAR_TEST_ONE", std::nullopt);
        change("SKAR_TEST_TWO", std::nullopt);
        change("SKAR_TEST_THREE", std::nullopt);
    }
    ~Environment() override {
        for (const auto& [name, value] : saved) {
            apply(name, value);
        }
    }

    void change(const std::string& name, const std::optional<std::string>& value) {
        const char* before = std::getenv(name.c_str());
        saved.emplace(name, before == nullptr ? std::nullopt : std::optional<std::string>(before));
        apply(name, value);
    }
    static void apply(const std::string& name, const std::optional<std::string>& value) {
        if (value) {
            ::setenv(name.c_str(), value->c_str(), 1);
        } else {
            ::unsetenv(name.c_str());
        }
    }
    static std::string get(const char* name) {
        const char* value = std::getenv(name);
        return value == nullptr ? "(none)" : value;
    }
    void machine(const std::string& text) { dir.write("machine/skar/registry.ini", text); }
    void user(const std::string& text) { dir.write("user/skar/registry.ini", text); }

    const TemporaryDirectory dir;
    std::map<std::string, std::optional<std::string>> saved;
};

TEST_F(Environment, AppliesTheSettingsOfTheInstalledVersion) {
    machine("[Software\\MORVA\\SKAR]\nVersion=11.3\n"
            "[Software\\MORVA\\SKAR\\11.3\\environment variables]\n"
            "SKAR_TEST_ONE=a value; with = signs\nPATH=/opt/skar/bin:/bin\n");
    EXPECT_EQ(0, setUpEnvironment());
    EXPECT_EQ("a value; with = signs", get("SKAR_TEST_ONE"));
    EXPECT_EQ("/bin:/usr/bin:/opt/skar/bin", get("PATH"));
}

TEST_F(Environment, WithoutTheKeyTheCodeIs5028700) {
    EXPECT_EQ(5028700, setUpEnvironment());
    machine("[Software\\MORVA\\SKARLET]\nVersion=1\n");
    EXPECT_EQ(5028700, setUpEnvironment());
    machine("no = section\nthis is not\nan INI file");
    EXPECT_EQ(5028700, setUpEnvironment());
}

TEST_F(Environment, WithoutAVersionTheCodeIs5028701) {
    machine("[Software\\MORVA\\SKAR]\nOther=1\n");
    EXPECT_EQ(5028701, setUpEnvironment());
    // The key of the local machine hides that of the user, version or not.
    user("[Software\\MORVA\\SKAR]\nVersion=11.3\n[Software\\MORVA\\SKAR\\11.3]\nx=1\n");
    EXPECT_EQ(5028701, setUpEnvironment());
}

TEST_F(Environment, WithoutSettingsTheCodeIs5028702AndNothingChanges) {
    machine("[Software\\MORVA\\SKAR]\nVersion=11.3\n");
    EXPECT_EQ(5028702, setUpEnvironment());
    EXPECT_EQ("/bin:/usr/bin", get("PATH"));
}

TEST_F(Environment, TheUserKeyStandsInForTheMachines) {
    user("[Software\\MORVA\\SKAR]\nVersion=11.3\n"
         "[Software\\MORVA\\SKAR\\11.3\\environment variables]\nSKAR_TEST_ONE=user\n");
    EXPECT_EQ(0, setUpEnvironment());
    EXPECT_EQ("user", get("SKAR_TEST_ONE"));
}

TEST_F(Environment, VersionEightStandsInForOneWithoutSettings) {
    machine("[Software\\MORVA\\SKAR]\nVersion=11.3\n"
            "[Software\\MORVA\\SKAR\\8.0\\environment variables]\nSKAR_TEST_ONE=eight\n");
    EXPECT_EQ(0, setUpEnvironment());
    EXPECT_EQ("eight", get("SKAR_TEST_ONE"));
}

TEST_F(Environment, TheUsersSettingsComeAfterTheMachines) {
    machine("[Software\\MORVA\\X\\environment variables]\nSKAR_TEST_ONE=machine\nPATH=/m\n");
    user("[Software\\MORVA\\X\\environment variables]\nSKAR_TEST_ONE=user\nPATH=/u:/m\n");
    EXPECT_EQ(1, applyEnvironment("MORVA\\X", true));
    EXPECT_EQ("user", get("SKAR_TEST_ONE"));
    EXPECT_EQ("/bin:/usr/bin:/m:/u", get("PATH"));
}

TEST_F(Environment, PrerequisitesComeFirstAndEachOnce) {
    machine("[Software\\MORVA\\X\\prerequisites]\na=MORVA\\Y\nb=MORVA\\X\nc=MORVA\\None\n"
            "[Software\\MORVA\\X\\environment variables]\nSKAR_TEST_ONE=x\nPATH=/x\n"
            "[Software\\MORVA\\Y\\prerequisites]\na=morva\\x\n"
            "[Software\\MORVA\\Y\\environment variables]\nSKAR_TEST_ONE=y\nSKAR_TEST_TWO=y\nPATH=/y\n");
    user("[Software\\MORVA\\Y\\environment variables]\nSKAR_TEST_THREE=user\n");
    EXPECT_EQ(1, applyEnvironment("MORVA\\X", true));
    EXPECT_EQ("x", get("SKAR_TEST_ONE"));
    EXPECT_EQ("y", get("SKAR_TEST_TWO"));
    EXPECT_EQ("user", get("SKAR_TEST_THREE"));
    EXPECT_EQ("/bin:/usr/bin:/y:/x", get("PATH"));
}

TEST_F(Environment, ALongChainOfPrerequisitesEnds) {
    std::string text;
    for (int i = 0; i < 5000; ++i) {
        text += "[Software\\P" + std::to_string(i) + "\\prerequisites]\nn=P" + std::to_string(i + 1) + "\n";
    }
    machine(text);
    EXPECT_EQ(1, applyEnvironment("P0", true));
}

TEST_F(Environment, NamesHaveNoCase) {
    machine("[SOFTWARE\\morva\\skar]\nversion=11.3\n"
            "[software\\MORVA\\SKAR\\11.3\\Environment Variables]\nPath=/New\n");
    EXPECT_EQ(0, setUpEnvironment());
    EXPECT_EQ("/bin:/usr/bin:/New", get("PATH"));
}

TEST_F(Environment, ThePathIsCleanedAsItIsSplit) {
    change("PATH", "::  /a b  :/A B:/a b:\"/q:1\":/Z");
    machine("[Software\\MORVA\\X]\nx=1\n");
    EXPECT_EQ(1, applyEnvironment("MORVA\\X", true));
    EXPECT_EQ("/a b:/A B:\"/q:1\":/Z", get("PATH"));
}

TEST_F(Environment, WithTheUpdateOffTheCommandsArePrinted) {
    machine("[Software\\MORVA\\X\\environment variables]\nSKAR_TEST_ONE=1\nPATH=/x\n");
    testing::internal::CaptureStdout();
    EXPECT_EQ(1, applyEnvironment("MORVA\\X", false));
    EXPECT_EQ("SET SKAR_TEST_ONE=1\nSET PATH=/bin:/usr/bin:/x\n", testing::internal::GetCapturedStdout());
    EXPECT_EQ("(none)", get("SKAR_TEST_ONE"));
    EXPECT_EQ("/bin:/usr/bin", get("PATH"));
}

TEST_F(Environment, AnUnreadableValueIsNamedAndPassedOver) {
    machine("[Software\\MORVA\\X\\environment variables]\nSKAR_TEST_TWO=" + std::string(1024, 'v') +
            "\nSKAR_TEST_ONE=" + std::string(1025, 'v') + "\nSKAR_TEST_THREE=3\n");
    testing::internal::CaptureStdout();
    EXPECT_EQ(1, applyEnvironment("MORVA\\X", true));
    const std::string printed = testing::internal::GetCapturedStdout();
    EXPECT_EQ(0u, printed.find("Line:"));
    EXPECT_EQ(" 0 based index = 1, retValue = 234, ValueLen = 1025", printed.substr(printed.find(' ')));
    EXPECT_EQ("(none)", get("SKAR_TEST_ONE"));
    EXPECT_EQ(std::string(1024, 'v'), get("SKAR_TEST_TWO"));
    EXPECT_EQ("3", get("SKAR_TEST_THREE"));
}

TEST_F(Environment, AnEmptyValueRemovesTheVariable) {
    change("SKAR_TEST_ONE", "old");
    machine("[Software\\MORVA\\X\\environment variables]\nSKAR_TEST_ONE=\n");
    EXPECT_EQ(1, applyEnvironment("MORVA\\X", true));
    EXPECT_EQ("(none)", get("SKAR_TEST_ONE"));
}

TEST_F(Environment, TheFirstDirectoryWithARegistryHoldsAndRelativeOnesAreIgnored) {
    dir.write("other/skar/registry.ini",
              "[Software\\MORVA\\X\\environment variables]\nSKAR_TEST_ONE=other\n");
    change("XDG_CONFIG_DIRS", "relative:" + (dir / "none").string() + ":" + (dir / "other").string() + ":" +
                                  (dir / "machine").string());
    machine("[Software\\MORVA\\X\\environment variables]\nSKAR_TEST_TWO=machine\n");
    EXPECT_EQ(1, applyEnvironment("MORVA\\X", true));
    EXPECT_EQ("other", get("SKAR_TEST_ONE"));
    EXPECT_EQ("(none)", get("SKAR_TEST_TWO"));
}

TEST_F(Environment, TheUsersFileIsBelowHomeWithoutXdg) {
    change("XDG_CONFIG_HOME", std::nullopt);
    change("HOME", dir.path().string());
    dir.write(".config/skar/registry.ini",
              "[Software\\MORVA\\X\\environment variables]\nSKAR_TEST_ONE=home\n");
    EXPECT_EQ(1, applyEnvironment("MORVA\\X", true));
    EXPECT_EQ("home", get("SKAR_TEST_ONE"));
}

} // namespace
