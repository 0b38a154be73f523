#pragma once

#include "linepath.h"

#include <skar/contact.h>

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

namespace skar::tool {

// The contacts of a line as a whole. The store can only append to a file that it has just made, so every
// change writes the file anew.
class ContactList {
public:
    // Reads the line's file, if it has one. Throws ToolError when it cannot be read.
    explicit ContactList(const LinePath& line);

    bool isPresent() const { return present_; }
    int version() const { return version_; }
    const std::string& colourMap() const { return colourMap_; }
    // Lines that do not decode; they would be lost in a file that is written anew.
    std::size_t unreadable() const { return unreadable_; }
    std::vector<Contact>& contacts() { return contacts_; }

    // Puts the list in place of the file, in the newest version. On failure, a ToolError, the old one is
    // there again. Not for a file with unreadable lines.
    void save();

private:
    void write() const;

    const LinePath& line_;
    std::filesystem::path file_;
    bool present_ = false;
    int version_ = 0;
    std::string colourMap_;
    std::size_t unreadable_ = 0;
    std::vector<Contact> contacts_;
};

} // namespace skar::tool
