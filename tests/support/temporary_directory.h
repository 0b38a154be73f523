#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <string_view>

namespace skar::tests {

// A directory of the real file system that goes with the object, and whatever is in it.
class TemporaryDirectory {
public:
    TemporaryDirectory() {
        std::string pattern = (std::filesystem::temp_directory_path() / "skar-test-XXXXXX").string();
        if (::mkdtemp(pattern.data()) == nullptr) {
            throw std::runtime_error("no temporary directory could be made");
        }
        root = std::filesystem::canonical(pattern);
    }
    ~TemporaryDirectory() {
        std::error_code ignored;
        std::filesystem::remove_all(root, ignored);
    }
    TemporaryDirectory(const TemporaryDirectory&) = delete;
    TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;

    const std::filesystem::path& path() const { return root; }
    std::filesystem::path operator/(const std::string& name) const { return root / name; }
    // The wide path of a file in it, as the library takes it.
    std::wstring wide(const std::string& name = {}) const {
        return (name.empty() ? root : root / name).wstring();
    }
    // Writes a file, with the directories above it.
    void write(const std::string& name, std::string_view bytes) const {
        std::filesystem::create_directories((root / name).parent_path());
        std::ofstream out(root / name, std::ios::binary);
        out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    }
    std::string read(const std::string& name) const {
        std::ifstream in(root / name, std::ios::binary);
        return std::string(std::istreambuf_iterator<char>(in), {});
    }
    bool has(const std::string& name) const { return std::filesystem::exists(root / name); }

private:
    std::filesystem::path root;
};

} // namespace skar::tests
