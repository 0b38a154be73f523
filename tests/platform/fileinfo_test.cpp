#include "support/fault_backend.h"
#include "support/shortcut_bytes.h"
#include "support/temporary_directory.h"

#include <skar/platform.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <random>

using skar::tests::FaultBackend;
using skar::tests::putLittle;
using skar::tests::putUtf16;

namespace {

void align(std::string& out) {
    out.resize((out.size() + 3) & ~std::size_t{3});
}

// A node of a version resource; `value` and `children` are bytes.
std::string node(const std::u16string& key, const std::string& value, std::size_t valueLength, bool text,
                 const std::string& children) {
    std::string body;
    putUtf16(body, key + u'\0');
    body.insert(0, 6, '\0');
    align(body);
    body += value;
    if (!children.empty()) {
        align(body);
        body += children;
    }
    std::string head;
    putLittle(head, body.size(), 2);
    putLittle(head, valueLength, 2);
    putLittle(head, text ? 1 : 0, 2);
    return head + body.substr(6);
}

std::string textNode(const std::u16string& key, const std::u16string& text) {
    std::string value;
    putUtf16(value, text + u'\0');
    std::string result = node(key, value, text.size() + 1, true, {});
    align(result);
    return result;
}

std::string versionResource(const std::u16string& language, const std::u16string& description) {
    std::string fixed;
    putLittle(fixed, 0xFEEF04BD, 4);
    putLittle(fixed, 0x00010000, 4);
    putLittle(fixed, 0x000B0003, 4);
    putLittle(fixed, 0x0007FFFF, 4);
    fixed.resize(52);
    const std::string strings = textNode(u"CompanyName", u"Odd") + textNode(u"FileDescription", description);
    const std::string info = node(u"StringFileInfo", {}, 0, true, node(language, {}, 0, true, strings));
    return node(u"VS_VERSION_INFO", fixed, fixed.size(), false, info);
}

// A program file with one section that holds the three levels of resource directories and the data.
std::string program(const std::string& resource, bool wide, std::uint32_t type = 16) {
    constexpr std::uint32_t address = 0x3000;
    constexpr std::uint32_t position = 0x400;
    constexpr std::uint32_t dataOffset = 24 * 3 + 16;
    const std::uint32_t optionalSize = (wide ? 112 : 96) + 16 * 8;

    std::string out(0x80, '\0');
    out[0] = 'M';
    out[1] = 'Z';
    out[0x3C] = static_cast<char>(0x80);
    out += std::string("PE\0\0", 4);
    putLittle(out, 0x8664, 2);
    putLittle(out, 1, 2);
    out.resize(out.size() + 12);
    putLittle(out, optionalSize, 2);
    putLittle(out, 0x2000, 2);

    std::string optional;
    putLittle(optional, wide ? 0x20B : 0x10B, 2);
    optional.resize((wide ? 112 : 96) - 4);
    putLittle(optional, 16, 4);
    optional.resize(optional.size() + 16);
    putLittle(optional, address, 4);
    putLittle(optional, 0x1000, 4);
    optional.resize(optionalSize);
    out += optional;

    out += std::string(".rsrc\0\0\0", 8);
    putLittle(out, 0x1000, 4);
    putLittle(out, address, 4);
    putLittle(out, dataOffset + resource.size(), 4);
    putLittle(out, position, 4);
    out.resize(position);

    const auto directory = [&out](std::uint32_t id, std::uint32_t target) {
        out.resize(out.size() + 12);
        putLittle(out, 0, 2);
        putLittle(out, 1, 2);
        putLittle(out, id, 4);
        putLittle(out, target, 4);
    };
    directory(type, 0x80000000u | 24);
    directory(1, 0x80000000u | 48);
    directory(0x409, 72);
    putLittle(out, address + dataOffset, 4);
    putLittle(out, resource.size(), 4);
    putLittle(out, 0, 8);
    return out + resource;
}

struct Info {
    int code = 77;
    std::wstring description;
    std::wstring version;
};

Info infoOf(const wchar_t* path) {
    wchar_t* description = nullptr;
    wchar_t* version = nullptr;
    Info info;
    info.code = SKARGetFileInfo(path, &description, &version);
    info.description = description;
    info.version = version;
    std::free(description);
    std::free(version);
    return info;
}

Info infoOfBytes(const std::string& bytes) {
    FaultBackend disk;
    disk.put("/p.exe", bytes);
    const Info info = infoOf(L"\\p.exe");
    EXPECT_EQ(0, disk.openStreams());
    return info;
}

TEST(FileInfo, GivesDescriptionAndVersionOfBothKindsOfPrograms) {
    for (const bool wide : {false, true}) {
        const Info info =
            infoOfBytes(program(versionResource(u"040904b0", u"A t\u00F6ol \xD83C\xDF0A"), wide));
        EXPECT_EQ(0, info.code);
        EXPECT_EQ(L"A t\u00F6ol \U0001F30A", info.description);
        EXPECT_EQ(L"11.3.7.65535", info.version);
    }
}

TEST(FileInfo, KeysAreFoundWithoutRegardToCase) {
    EXPECT_EQ(L"Tool", infoOfBytes(program(versionResource(u"040904B0", u"Tool"), true)).description);
}

TEST(FileInfo, WithoutDescriptionInThatLanguageTheVersionIsStillGiven) {
    const Info info = infoOfBytes(program(versionResource(u"040704b0", u"Werkzeug"), true));
    EXPECT_EQ(0, info.code);
    EXPECT_EQ(L"", info.description);
    EXPECT_EQ(L"11.3.7.65535", info.version);
}

TEST(FileInfo, ALongDescriptionIsCutToItsBuffer) {
    const Info info = infoOfBytes(program(versionResource(u"040904b0", std::u16string(1000, u'x')), true));
    EXPECT_EQ(std::wstring(255, L'x'), info.description);
}

TEST(FileInfo, WhatHasNoVersionResourceFailsWithEmptyTexts) {
    const std::string good = program(versionResource(u"040904b0", u"Tool"), true);
    std::string badSignature = good;
    badSignature[badSignature.find("\xBD\x04\xEF\xFE")] = 0;
    for (const std::string& bytes :
         {std::string(), std::string("MZ"), std::string(5000, 'M'), program({}, true), badSignature,
          program(versionResource(u"040904b0", u"Tool"), true, 3)}) {
        const Info info = infoOfBytes(bytes);
        EXPECT_EQ(-1, info.code);
        EXPECT_EQ(L"", info.description);
        EXPECT_EQ(L"", info.version);
    }
    EXPECT_EQ(-1, infoOf(L"/no/such/program").code);
    EXPECT_EQ(-1, infoOf(nullptr).code);
}

TEST(FileInfo, GivenBuffersAreFilledAndKept) {
    FaultBackend disk;
    disk.put("/p.exe", program(versionResource(u"040904b0", u"Tool"), true));
    wchar_t text[256] = L"old";
    wchar_t number[256] = L"old";
    wchar_t* description = text;
    wchar_t* version = number;
    EXPECT_EQ(0, SKARGetFileInfo(L"/p.exe", &description, &version));
    EXPECT_EQ(text, description);
    EXPECT_STREQ(L"Tool", text);
    EXPECT_STREQ(L"11.3.7.65535", number);
    EXPECT_EQ(-1, SKARGetFileInfo(L"/none", &description, &version));
    EXPECT_STREQ(L"", text);
    EXPECT_STREQ(L"", number);
    EXPECT_EQ(-1, SKARGetFileInfo(L"/p.exe", nullptr, &version));
    EXPECT_EQ(-1, SKARGetFileInfo(L"/p.exe", &description, nullptr));
}

TEST(FileInfo, EveryTruncationAndBrokenByteIsSurvived) {
    const std::string good = program(versionResource(u"040904b0", u"Tool"), false);
    for (std::size_t n = 0; n < good.size(); ++n) {
        const Info info = infoOfBytes(good.substr(0, n));
        EXPECT_EQ(-1, info.code) << "cut at " << n;
    }
    constexpr unsigned seed = 5;
    std::mt19937 random(seed);
    for (int i = 0; i < 3000; ++i) {
        std::string broken = good;
        for (int k = 0; k < 4; ++k) {
            broken[random() % broken.size()] = static_cast<char>(random());
        }
        const Info info = infoOfBytes(broken);
        EXPECT_EQ(info.code == 0, !info.version.empty()) << "seed " << seed << ", round " << i;
    }
    for (std::size_t at = 0; at + 4 <= good.size(); at += 2) {
        for (const char* word : {"\0\0\0\0", "\xFF\xFF\xFF\x7F", "\0\0\0\x80", "\xFF\xFF\xFF\xFF"}) {
            std::string broken = good;
            broken.replace(at, 4, std::string(word, 4));
            const Info info = infoOfBytes(broken);
            EXPECT_EQ(info.code == 0, !info.version.empty()) << "word at " << at;
        }
    }
}

} // namespace
