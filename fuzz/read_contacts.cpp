#include "support/fault_backend.h"

#include <skar/contact.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>

// Takes a made-up contact line apart in every version, reads a file that holds it, and writes what could be
// read: that must read again. An input is a byte for the version and the line or lines, UTF-8.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size < 1) return 0;
    const std::string bytes(reinterpret_cast<const char*>(data) + 1, size - 1);
    std::wstring wide;
    for (const char each : bytes)
        wide.push_back(static_cast<unsigned char>(each));
    for (int version = -1; version <= 6; ++version) {
        Contact contact;
        if ((DecodeContactRecord(version, wide.c_str(), &contact) == 0) != (contact.number >= 0))
            __builtin_trap();
    }
    skar::tests::FaultBackend disk;
    const std::string folder = "/survey/project/vessel/day/";
    const wchar_t* const line = L"/survey/project/vessel/day/line";
    const wchar_t* const copy = L"/survey/project/vessel/day/copy";
    disk.put(folder + "copy/keep", "");
    disk.put(folder + "line/Contact",
             data[0] & 0x80 ? bytes : "p v d l\nVERSION " + std::to_string(data[0] % 6) + "\n" + bytes);
    long code = 0;
    if (ContactFile* contacts = ContactOpenDir(line, &code)) {
        std::array<wchar_t, 8192> colourMap;
        int version = 0;
        if (ContactSummary(contacts, &version, colourMap.data()) != 0) __builtin_trap();
        ContactFile* written = ContactNewDir(copy, nullptr, &code);
        Contact contact;
        int taken = 0;
        for (int found = ReadFirstContact(contacts, &contact, &code); found != 0 || code != 0;
             found = ReadNextContact(contacts, &contact, &code))
            taken += found != 0 && WriteContactRecord(written, &contact) == 0;
        ContactClose(written);
        ContactClose(contacts);
        contacts = ContactOpenDir(copy, &code);
        if (!contacts) __builtin_trap();
        for (int found = ReadFirstContact(contacts, &contact, &code); found != 0;
             found = ReadNextContact(contacts, &contact, &code))
            --taken;
        if (taken != 0) __builtin_trap();
        ContactClose(contacts);
    }
    if (disk.openStreams() != 0) __builtin_trap();
    return 0;
}
