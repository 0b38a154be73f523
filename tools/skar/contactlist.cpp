#include "contactlist.h"

#include "codetext.h"
#include "commands/command.h"
#include "openset.h"

#include <fmt/format.h>

namespace skar::tool {

namespace fs = std::filesystem;

namespace {

struct CloseContacts {
    void operator()(ContactFile* file) const { ContactClose(file); }
};
using Handle = std::unique_ptr<ContactFile, CloseContacts>;

[[noreturn]] void fail(const fs::path& file, const char* step, long code) {
    throw ToolError(
        fmt::format("{}: {}: {}", printable(file.string()), step, codeText(static_cast<int>(code))));
}

} // namespace

ContactList::ContactList(const LinePath& line) : line_(line), file_(line.native / "Contact") {
    startLibrary();
    std::error_code ignored;
    present_ = fs::exists(fs::symlink_status(file_, ignored));
    if (!present_) return;
    long code = 0;
    const Handle handle(ContactOpenDir(line.store.c_str(), &code));
    if (!handle) fail(file_, "cannot be opened", code);
    constexpr std::size_t longestLine = 8192;
    std::vector<wchar_t> map(longestLine);
    if (ContactSummary(handle.get(), &version_, map.data()) != 0) fail(file_, "cannot be read", -1);
    colourMap_ = narrowText(map.data());
    Contact contact;
    int read = ReadFirstContact(handle.get(), &contact, &code);
    while (read != 0 || code != 0) {
        if (read != 0)
            contacts_.push_back(contact);
        else
            ++unreadable_;
        contact = {};
        read = ReadNextContact(handle.get(), &contact, &code);
    }
}

void ContactList::write() const {
    std::string map = colourMap_;
    long code = 0;
    Handle handle(ContactNewDir(line_.store.c_str(), map.empty() ? nullptr : map.data(), &code));
    if (!handle) fail(file_, "cannot be made", code);
    for (Contact contact : contacts_) {
        const int written = WriteContactRecord(handle.get(), &contact);
        if (written != 0)
            fail(file_, fmt::format("contact {} cannot be written", contact.number).c_str(), written);
    }
    const int closed = ContactClose(handle.release());
    if (closed != 0) fail(file_, "cannot be closed", closed);
}

void ContactList::save() {
    const fs::path before = file_.string() + ".before";
    std::error_code error;
    if (fs::exists(fs::symlink_status(before, error))) {
        throw ToolError(
            fmt::format("{}: is left of a change that was broken off; look which file is the right one",
                        printable(before.string())));
    }
    if (present_) {
        fs::rename(file_, before, error);
        if (error) throw ToolError(fmt::format("{}: {}", printable(file_.string()), error.message()));
    }
    try {
        write();
        const ContactList saved(line_);
        if (saved.contacts_.size() != contacts_.size() || saved.unreadable_ != 0)
            throw ToolError(
                fmt::format("{}: does not read back as it was written", printable(file_.string())));
    } catch (const ToolError&) {
        fs::remove(file_, error);
        if (present_) fs::rename(before, file_, error);
        throw;
    }
    fs::remove(before, error);
    present_ = true;
}

} // namespace skar::tool
