#include "platform/byteblock.h"
#include "platform/file.h"

#include <skar/platform.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cwchar>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

using skar::platform::ByteBlock;

namespace {

constexpr std::size_t textCapacity = 256;

class ProgramFile {
public:
    explicit ProgramFile(const wchar_t* path) : stream(skar::platform::openFile(path, "rb")) {
        if (stream) {
            readHeaders();
        }
    }

    // The bytes of the version resource, empty without one.
    ByteBlock versionResource() {
        constexpr std::uint32_t versionType = 16;
        constexpr std::size_t largestVersion = 0x10000;
        const auto names = child(0, versionType);
        const auto languages = names ? child(*names, std::nullopt) : std::nullopt;
        const auto entry = languages ? child(*languages, std::nullopt) : std::nullopt;
        if (!entry || (*entry & subdirectory) != 0) {
            return ByteBlock();
        }
        const ByteBlock data = resourceBytes(*entry, 8);
        const auto address = data.word32(0);
        const auto size = data.word32(4);
        if (!address || !size) {
            return ByteBlock();
        }
        return at(*address, std::min<std::size_t>(*size, largestVersion));
    }

private:
    static constexpr std::uint32_t subdirectory = 0x80000000u;

    struct Section {
        std::uint32_t address;
        std::uint32_t size;
        std::uint32_t position;
    };
    struct Close {
        void operator()(std::FILE* f) const { std::fclose(f); }
    };

    // Exactly `size` bytes, or none.
    ByteBlock fileBytes(std::uint64_t position, std::size_t size) {
        std::vector<unsigned char> bytes(size);
        const bool good = std::fseek(stream.get(), static_cast<long>(position), SEEK_SET) == 0 &&
                          std::fread(bytes.data(), 1, size, stream.get()) == size;
        return good ? ByteBlock(std::move(bytes)) : ByteBlock();
    }

    void readHeaders() {
        const auto start = fileBytes(0, 64);
        if (start.word16(0) != 0x5A4D) {
            return;
        }
        const std::uint64_t header = *start.word32(60);
        const ByteBlock file = fileBytes(header, 24);
        if (file.word32(0) != 0x00004550u) {
            return;
        }
        const std::size_t sectionCount = *file.word16(6);
        const std::size_t optionalSize = *file.word16(20);
        const ByteBlock optional = fileBytes(header + 24, optionalSize);
        const auto magic = optional.word16(0);
        if (magic != 0x10B && magic != 0x20B) {
            return;
        }
        const std::size_t directories = magic == 0x10B ? 96 : 112;
        const auto directoryCount = optional.word32(directories - 4);
        constexpr std::size_t resourceDirectory = 2;
        const auto address = optional.word32(directories + 8 * resourceDirectory);
        if (!directoryCount || *directoryCount <= resourceDirectory || !address || *address == 0) {
            return;
        }
        constexpr std::size_t sectionSize = 40;
        const ByteBlock table = fileBytes(header + 24 + optionalSize, sectionCount * sectionSize);
        for (std::size_t i = 0; i < table.size(); i += sectionSize) {
            sections.push_back({*table.word32(i + 12), *table.word32(i + 16), *table.word32(i + 20)});
        }
        resources = address;
    }

    // The bytes at an address of the loaded program.
    ByteBlock at(std::uint32_t address, std::size_t size) {
        for (const Section& section : sections) {
            if (address >= section.address && address - section.address < section.size) {
                const std::uint32_t offset = address - section.address;
                if (size > section.size - offset) {
                    return ByteBlock();
                }
                return fileBytes(std::uint64_t{section.position} + offset, size);
            }
        }
        return ByteBlock();
    }

    ByteBlock resourceBytes(std::uint32_t offset, std::size_t size) {
        if (!resources || offset > 0xFFFFFFFFu - *resources) {
            return ByteBlock();
        }
        return at(*resources + offset, size);
    }

    // Where the entry of a number, or the first one, leads from a directory of resources.
    std::optional<std::uint32_t> child(std::uint32_t directory, std::optional<std::uint32_t> number) {
        constexpr std::uint32_t headerSize = 16;
        constexpr std::uint32_t entrySize = 8;
        if (directory != 0 && (directory & subdirectory) == 0) {
            return std::nullopt;
        }
        const std::uint32_t offset = directory & ~subdirectory;
        const ByteBlock header = resourceBytes(offset, headerSize);
        if (header.size() == 0) {
            return std::nullopt;
        }
        const std::uint32_t count = std::uint32_t{*header.word16(12)} + *header.word16(14);
        const ByteBlock entries = resourceBytes(offset + headerSize, count * entrySize);
        for (std::size_t i = 0; i < entries.size(); i += entrySize) {
            if (!number || entries.word32(i) == *number) {
                return entries.word32(i + 4);
            }
        }
        return std::nullopt;
    }

    std::unique_ptr<std::FILE, Close> stream;
    std::vector<Section> sections;
    std::optional<std::uint32_t> resources;
};

bool sameKey(std::wstring_view a, std::wstring_view b) {
    const auto lower = [](wchar_t c) {
        return c >= L'A' && c <= L'Z' ? static_cast<wchar_t>(c - L'A' + L'a') : c;
    };
    return std::ranges::equal(a, b, [lower](wchar_t x, wchar_t y) { return lower(x) == lower(y); });
}

// A node of the tree that a version resource is: lengths, a key, a value, then nodes below it, on 4-byte
// bounds.
class VersionNode {
public:
    VersionNode(const ByteBlock& resource, std::size_t start, std::size_t limit) : block(resource) {
        const auto length = block.word16(start);
        const auto stated = block.word16(start + 2);
        if (!length || !stated || *length < 6 || start + *length > limit) {
            return;
        }
        std::size_t at = start + 6;
        key = block.utf16(at, start + *length);
        value = std::min(aligned(at + 2 * (key.size() + 1)), start + *length);
        valueLength = *stated;
        end = start + *length;
        valid = true;
    }

    static std::size_t aligned(std::size_t at) { return (at + 3) & ~std::size_t{3}; }

    // The node of a key behind the value, which has `valueSize` bytes.
    std::optional<VersionNode> child(std::size_t valueSize, std::wstring_view name) const {
        for (std::size_t at = aligned(value + valueSize); at < end;) {
            const VersionNode node(block, at, end);
            if (!node.valid) {
                break;
            }
            if (sameKey(node.key, name)) {
                return node;
            }
            at = aligned(node.end);
        }
        return std::nullopt;
    }

    const ByteBlock& block;
    std::wstring key;
    std::size_t value = 0;
    std::size_t valueLength = 0;
    std::size_t end = 0;
    bool valid = false;
};

struct FileInfo {
    std::wstring description;
    std::wstring version;
};

std::optional<FileInfo> readFileInfo(const wchar_t* path) {
    constexpr std::uint32_t fixedSignature = 0xFEEF04BDu;
    const ByteBlock resource = ProgramFile(path).versionResource();
    const VersionNode root(resource, 0, resource.size());
    if (!root.valid || root.key != L"VS_VERSION_INFO" || resource.word32(root.value) != fixedSignature) {
        return std::nullopt;
    }
    const auto high = resource.word32(root.value + 8);
    const auto low = resource.word32(root.value + 12);
    if (!high || !low) {
        return std::nullopt;
    }
    FileInfo info;
    for (const std::uint32_t part : {*high >> 16, *high & 0xFFFF, *low >> 16, *low & 0xFFFF}) {
        info.version += (info.version.empty() ? L"" : L".") + std::to_wstring(part);
    }
    const auto strings = root.child(root.valueLength, L"StringFileInfo");
    const auto table = strings ? strings->child(0, L"040904b0") : std::nullopt;
    const auto text = table ? table->child(0, L"FileDescription") : std::nullopt;
    if (text) {
        info.description = resource.utf16(text->value, text->end);
    }
    return info;
}

bool provide(wchar_t*& buffer) {
    if (buffer == nullptr) {
        buffer = static_cast<wchar_t*>(std::malloc(textCapacity * sizeof(wchar_t)));
    }
    if (buffer != nullptr) {
        buffer[0] = L'\0';
    }
    return buffer != nullptr;
}

void copyText(const std::wstring& text, wchar_t* buffer) {
    const std::size_t length = std::min(text.size(), textCapacity - 1);
    std::wmemcpy(buffer, text.c_str(), length);
    buffer[length] = L'\0';
}

} // namespace

int SKARGetFileInfo(const wchar_t* path, wchar_t** description, wchar_t** version) {
    if (description == nullptr || version == nullptr || !provide(*description) || !provide(*version)) {
        return -1;
    }
    const auto info = readFileInfo(path);
    if (!info) {
        return -1;
    }
    copyText(info->description, *description);
    copyText(info->version, *version);
    return 0;
}
