#include "support/fault_backend.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <limits>
#include <optional>
#include <set>

namespace skar::tests {
namespace {

constexpr std::size_t unlimited = std::numeric_limits<std::size_t>::max();
constexpr std::size_t opKinds = 11;

// Where a Node stands is kept in it, so that a stream that is open over a rename journals under the new name.
struct Node {
    std::string path;
    std::string bytes;
    std::uint64_t number = 0;
};
using NodePtr = std::shared_ptr<Node>;

std::string clean(const std::string& path) {
    std::string result;
    for (char c : path) {
        if (c != '/' || result.empty() || result.back() != '/') {
            result.push_back(c);
        }
    }
    if (result.size() > 1 && result.back() == '/') {
        result.pop_back();
    }
    return result;
}

std::string parentOf(const std::string& path) {
    const auto slash = path.rfind('/');
    if (slash == std::string::npos) {
        return ".";
    }
    return slash == 0 ? "/" : path.substr(0, slash);
}

void overwrite(std::string& target, std::size_t offset, std::string_view bytes) {
    if (target.size() < offset + bytes.size()) {
        target.resize(offset + bytes.size());
    }
    std::copy(bytes.begin(), bytes.end(), target.begin() + static_cast<std::ptrdiff_t>(offset));
}

struct Fault {
    std::optional<Op> kind;
    std::size_t n;
    int error;
    Repeat repeat;
};

} // namespace

struct FaultBackend::State {
    std::map<std::string, NodePtr> nodes;
    std::set<std::string> directories;
    std::uint64_t numbersGiven = 0;

    std::vector<Fault> faults;
    std::size_t spaceLeft = unlimited;
    std::size_t mostRead = unlimited;
    std::size_t mostWritten = unlimited;
    std::size_t total = 0;
    std::array<std::size_t, opKinds> perKind{};
    int streams = 0;

    bool journalling = false;
    Files atStart;
    std::vector<Change> changes;

    NodePtr find(const std::string& path) const {
        const auto found = nodes.find(path);
        return found == nodes.end() ? nullptr : found->second;
    }
    bool isDirectory(const std::string& path) const {
        return path == "/" || path == "." || directories.count(path) != 0;
    }
    NodePtr add(const std::string& path) {
        auto node = std::make_shared<Node>(Node{path, {}, ++numbersGiven});
        nodes[path] = node;
        return node;
    }
    void addParents(const std::string& path) {
        for (std::string p = parentOf(path); !isDirectory(p); p = parentOf(p)) {
            directories.insert(p);
        }
    }
    void note(Change change) {
        if (journalling) {
            changes.push_back(std::move(change));
        }
    }
    // Counts an operation; false, with errno set, when it is to fail.
    bool passes(Op kind) {
        ++total;
        const std::size_t ofKind = ++perKind[static_cast<std::size_t>(kind)];
        for (const Fault& fault : faults) {
            if (fault.kind && *fault.kind != kind) {
                continue;
            }
            const std::size_t count = fault.kind ? ofKind : total;
            if (count == fault.n || (count > fault.n && fault.repeat == Repeat::forever)) {
                errno = fault.error;
                return false;
            }
        }
        return true;
    }
};

namespace {

bool refuse(int error) {
    errno = error;
    return false;
}

struct Cookie {
    std::shared_ptr<FaultBackend::State> state;
    NodePtr node;
    std::size_t position = 0;
    bool append = false;
};

Cookie& cookieOf(void* opaque) {
    return *static_cast<Cookie*>(opaque);
}

ssize_t cookieRead(void* opaque, char* buffer, std::size_t size) {
    Cookie& c = cookieOf(opaque);
    if (!c.state->passes(Op::read)) {
        return -1;
    }
    const std::string& bytes = c.node->bytes;
    const std::size_t there = c.position < bytes.size() ? bytes.size() - c.position : 0;
    const std::size_t n = std::min({size, there, c.state->mostRead});
    std::memcpy(buffer, bytes.data() + (n > 0 ? c.position : 0), n);
    c.position += n;
    return static_cast<ssize_t>(n);
}

// A cookie's write reports an error by 0, never by a negative number.
ssize_t cookieWrite(void* opaque, const char* buffer, std::size_t size) {
    Cookie& c = cookieOf(opaque);
    if (!c.state->passes(Op::write)) {
        return 0;
    }
    if (c.append) {
        c.position = c.node->bytes.size();
    }
    const std::size_t n = std::min({size, c.state->mostWritten, c.state->spaceLeft});
    if (c.state->spaceLeft != unlimited) {
        c.state->spaceLeft -= n;
    }
    if (n > 0) {
        overwrite(c.node->bytes, c.position, {buffer, n});
        if (!c.node->path.empty()) {
            c.state->note({Change::Kind::write, c.node->path, c.position, std::string(buffer, n)});
        }
        c.position += n;
    }
    if (n < size) {
        errno = ENOSPC;
    }
    return static_cast<ssize_t>(n);
}

int cookieSeek(void* opaque, off64_t* offset, int whence) {
    Cookie& c = cookieOf(opaque);
    if (!c.state->passes(Op::seek)) {
        return -1;
    }
    const std::size_t base = whence == SEEK_CUR ? c.position : whence == SEEK_END ? c.node->bytes.size() : 0;
    const off64_t target = static_cast<off64_t>(base) + *offset;
    if (target < 0) {
        errno = EINVAL;
        return -1;
    }
    c.position = static_cast<std::size_t>(target);
    *offset = target;
    return 0;
}

int cookieClose(void* opaque) {
    const std::unique_ptr<Cookie> c(static_cast<Cookie*>(opaque));
    --c->state->streams;
    return c->state->passes(Op::close) ? 0 : -1;
}

} // namespace

FaultBackend::FaultBackend() : state(std::make_shared<State>()), before(platform::setFileBackend(this)) {}

FaultBackend::~FaultBackend() {
    platform::setFileBackend(before);
}

void FaultBackend::put(const std::string& path, std::string_view bytes) {
    const std::string name = clean(path);
    state->addParents(name);
    NodePtr node = state->find(name);
    if (!node) {
        node = state->add(name);
    }
    node->bytes = bytes;
}

bool FaultBackend::has(const std::string& path) const {
    return state->find(clean(path)) != nullptr;
}

std::string FaultBackend::bytes(const std::string& path) const {
    const NodePtr node = state->find(clean(path));
    return node ? node->bytes : std::string();
}

Files FaultBackend::files() const {
    Files result;
    for (const auto& [path, node] : state->nodes) {
        result[path] = node->bytes;
    }
    return result;
}

void FaultBackend::setFiles(const Files& files) {
    for (auto& [path, node] : state->nodes) {
        node->path.clear();
    }
    state->nodes.clear();
    for (const auto& [path, bytes] : files) {
        put(path, bytes);
    }
}

void FaultBackend::load(const std::string& realDirectory) {
    for (const auto& entry : std::filesystem::recursive_directory_iterator(realDirectory)) {
        if (entry.is_directory()) {
            const std::string name = clean(entry.path().string());
            state->addParents(name);
            state->directories.insert(name);
        } else if (entry.is_regular_file()) {
            std::ifstream in(entry.path(), std::ios::binary);
            put(entry.path().string(), std::string(std::istreambuf_iterator<char>(in), {}));
        }
    }
}

void FaultBackend::failAt(std::size_t n, int error, Repeat repeat) {
    state->faults.push_back({std::nullopt, n, error, repeat});
}

void FaultBackend::failAt(Op kind, std::size_t n, int error, Repeat repeat) {
    state->faults.push_back({kind, n, error, repeat});
}

void FaultBackend::noSpaceAfter(std::size_t byteCount) {
    state->spaceLeft = byteCount;
}

void FaultBackend::shortReads(std::size_t most) {
    state->mostRead = most;
}

void FaultBackend::shortWrites(std::size_t most) {
    state->mostWritten = most;
}

void FaultBackend::clearFaults() {
    state->faults.clear();
    state->spaceLeft = state->mostRead = state->mostWritten = unlimited;
}

void FaultBackend::resetCounts() {
    state->total = 0;
    state->perKind = {};
}

std::size_t FaultBackend::operations() const {
    return state->total;
}

std::size_t FaultBackend::operations(Op kind) const {
    return state->perKind[static_cast<std::size_t>(kind)];
}

int FaultBackend::openStreams() const {
    return state->streams;
}

void FaultBackend::startJournal() {
    state->atStart = files();
    state->changes.clear();
    state->journalling = true;
}

const std::vector<Change>& FaultBackend::journal() const {
    return state->changes;
}

Files FaultBackend::stateAfter(std::size_t changes, std::size_t tornBytes) const {
    Files result = state->atStart;
    const auto& all = state->changes;
    for (std::size_t i = 0; i < std::min(changes, all.size()); ++i) {
        const Change& change = all[i];
        switch (change.kind) {
        case Change::Kind::create:
        case Change::Kind::truncate:
            result[change.path].clear();
            break;
        case Change::Kind::write:
            overwrite(result[change.path], change.offset, change.bytes);
            break;
        case Change::Kind::remove:
            result.erase(change.path);
            break;
        case Change::Kind::rename: {
            // A directory takes the files below it along.
            Files moved;
            for (const auto& [path, bytes] : result) {
                const bool below = path == change.path || path.rfind(change.path + '/', 0) == 0;
                moved[below ? change.bytes + path.substr(change.path.size()) : path] = bytes;
            }
            result = std::move(moved);
            break;
        }
        case Change::Kind::makeDirectory:
        case Change::Kind::removeDirectory:
            break;
        }
    }
    if (changes < all.size() && tornBytes > 0 && all[changes].kind == Change::Kind::write) {
        const Change& torn = all[changes];
        overwrite(result[torn.path], torn.offset, std::string_view(torn.bytes).substr(0, tornBytes));
    }
    return result;
}

std::FILE* FaultBackend::open(const std::string& path, const char* mode, bool& existed) {
    if (!state->passes(Op::open)) {
        return nullptr;
    }
    const std::string name = clean(path);
    if (mode == nullptr || std::strchr("rwa", mode[0]) == nullptr || mode[0] == '\0') {
        errno = EINVAL;
        return nullptr;
    }
    if (state->isDirectory(name)) {
        errno = EISDIR;
        return nullptr;
    }
    NodePtr node = state->find(name);
    existed = node != nullptr;
    if (!node && (mode[0] == 'r' || !state->isDirectory(parentOf(name)))) {
        errno = state->find(parentOf(name)) ? ENOTDIR : ENOENT;
        return nullptr;
    }
    if (!node) {
        node = state->add(name);
        state->note({Change::Kind::create, name, 0, {}});
    } else if (mode[0] == 'w') {
        node->bytes.clear();
        state->note({Change::Kind::truncate, name, 0, {}});
    }
    const bool append = mode[0] == 'a';
    auto cookie = std::make_unique<Cookie>(Cookie{state, node, append ? node->bytes.size() : 0, append});
    std::FILE* stream = fopencookie(cookie.get(), mode, {cookieRead, cookieWrite, cookieSeek, cookieClose});
    if (stream != nullptr) {
        ++state->streams;
        static_cast<void>(cookie.release());
    }
    return stream;
}

std::FILE* FaultBackend::openOwn(const std::string& path) {
    bool existed = false;
    return open(path, "wb", existed);
}

bool FaultBackend::status(const std::string& path, platform::FileStatus& status) {
    if (!state->passes(Op::status)) {
        return false;
    }
    const std::string name = clean(path);
    const NodePtr node = state->find(name);
    if (!node && !state->isDirectory(name)) {
        return refuse(ENOENT);
    }
    status = {};
    status.directory = !node;
    status.regular = static_cast<bool>(node);
    status.size = node ? static_cast<std::int64_t>(node->bytes.size()) : 0;
    status.number = node ? node->number : 0;
    return true;
}

bool FaultBackend::remove(const std::string& path) {
    if (!state->passes(Op::remove)) {
        return false;
    }
    const std::string name = clean(path);
    const NodePtr node = state->find(name);
    if (!node) {
        return refuse(state->isDirectory(name) ? EISDIR : ENOENT);
    }
    node->path.clear();
    state->nodes.erase(name);
    state->note({Change::Kind::remove, name, 0, {}});
    return true;
}

bool FaultBackend::rename(const std::string& from, const std::string& to) {
    const std::string target = clean(to);
    if (!state->passes(Op::rename)) {
        return false;
    }
    if (state->find(target) || state->isDirectory(target)) {
        return state->find(clean(from)) || state->isDirectory(clean(from)) ? refuse(EEXIST) : refuse(ENOENT);
    }
    return move(from, to);
}

bool FaultBackend::replace(const std::string& from, const std::string& to) {
    if (!state->passes(Op::rename)) {
        return false;
    }
    if (!state->find(clean(from))) {
        return refuse(ENOENT);
    }
    if (state->isDirectory(clean(to))) {
        return refuse(EISDIR);
    }
    if (const NodePtr replaced = state->find(clean(to))) {
        replaced->path.clear();
        state->nodes.erase(clean(to));
    }
    return move(from, to);
}

// The target is free.
bool FaultBackend::move(const std::string& from, const std::string& to) {
    const std::string source = clean(from);
    const std::string target = clean(to);
    const bool directory = state->isDirectory(source);
    if (!directory && !state->find(source)) {
        return refuse(ENOENT);
    }
    if (!state->isDirectory(parentOf(target))) {
        return refuse(ENOENT);
    }
    const auto moved = [&](const std::string& path) -> std::optional<std::string> {
        if (path == source || path.rfind(source + '/', 0) == 0) {
            return target + path.substr(source.size());
        }
        return std::nullopt;
    };
    std::map<std::string, NodePtr> nodes;
    for (const auto& [path, node] : state->nodes) {
        node->path = moved(path).value_or(path);
        nodes[node->path] = node;
    }
    std::set<std::string> directories;
    for (const std::string& path : state->directories) {
        directories.insert(moved(path).value_or(path));
    }
    state->nodes = std::move(nodes);
    state->directories = std::move(directories);
    state->note({Change::Kind::rename, source, 0, target});
    return true;
}

bool FaultBackend::makeDirectory(const std::string& path) {
    if (!state->passes(Op::makeDirectory)) {
        return false;
    }
    const std::string name = clean(path);
    if (state->isDirectory(name) || state->find(name)) {
        return refuse(EEXIST);
    }
    if (!state->isDirectory(parentOf(name))) {
        return refuse(ENOENT);
    }
    state->directories.insert(name);
    state->note({Change::Kind::makeDirectory, name, 0, {}});
    return true;
}

bool FaultBackend::removeDirectory(const std::string& path) {
    if (!state->passes(Op::removeDirectory)) {
        return false;
    }
    const std::string name = clean(path);
    if (!state->isDirectory(name)) {
        return refuse(state->find(name) ? ENOTDIR : ENOENT);
    }
    const auto below = [&name](const std::string& other) { return parentOf(other) == name; };
    const bool used = std::any_of(state->nodes.begin(), state->nodes.end(),
                                  [&](const auto& n) { return below(n.first); }) ||
                      std::any_of(state->directories.begin(), state->directories.end(), below);
    if (used) {
        return refuse(ENOTEMPTY);
    }
    state->directories.erase(name);
    state->note({Change::Kind::removeDirectory, name, 0, {}});
    return true;
}

bool FaultBackend::list(const std::string& path, std::vector<platform::DirectoryEntry>& entries) {
    if (!state->passes(Op::list)) {
        return false;
    }
    const std::string name = clean(path);
    if (!state->isDirectory(name)) {
        return refuse(state->find(name) ? ENOTDIR : ENOENT);
    }
    entries.clear();
    const auto add = [&](const std::string& child, bool directory) {
        if (child != name && parentOf(child) == name) {
            entries.push_back({child.substr(child.rfind('/') + 1), directory});
        }
    };
    for (const auto& [child, node] : state->nodes) {
        add(child, false);
    }
    for (const std::string& child : state->directories) {
        add(child, true);
    }
    std::sort(entries.begin(), entries.end(), [](const auto& a, const auto& b) { return a.name < b.name; });
    return true;
}

} // namespace skar::tests
