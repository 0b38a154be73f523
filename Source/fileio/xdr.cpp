#include "fileio/xdr.h"

#include "fileio/bytes.h"

#include <bit>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <new>

void* (*qon_xdr_allocate)(std::size_t) = std::malloc;

namespace {

using skar::fileio::loadWord;
using skar::fileio::storeWord;
using skar::fileio::wordSize;

std::byte* position(qon_XDR* stream) {
    return static_cast<std::byte*>(stream->x_private);
}
std::FILE* file(qon_XDR* stream) {
    return static_cast<std::FILE*>(stream->x_private);
}

// Takes bytes off the stream. A stream that ran out keeps its negative count and fails until it is
// repositioned.
bool take(qon_XDR* stream, std::int64_t count) {
    const std::int64_t left = std::int64_t{stream->x_handy} - count;
    stream->x_handy = left < -1 ? -1 : static_cast<std::int32_t>(left);
    return left >= 0;
}

int memoryGetLong(qon_XDR* stream, std::int32_t* value) {
    if (!take(stream, wordSize)) return 0;
    *value = static_cast<std::int32_t>(loadWord(position(stream)));
    stream->x_private = position(stream) + wordSize;
    return 1;
}

int memoryPutLong(qon_XDR* stream, const std::int32_t* value) {
    if (!take(stream, wordSize)) return 0;
    storeWord(position(stream), static_cast<std::uint32_t>(*value));
    stream->x_private = position(stream) + wordSize;
    return 1;
}

int memoryGetBytes(qon_XDR* stream, void* bytes, std::uint32_t count) {
    if (!take(stream, count)) return 0;
    std::memcpy(bytes, position(stream), count);
    stream->x_private = position(stream) + count;
    return 1;
}

int memoryPutBytes(qon_XDR* stream, const void* bytes, std::uint32_t count) {
    if (!take(stream, count)) return 0;
    std::memcpy(position(stream), bytes, count);
    stream->x_private = position(stream) + count;
    return 1;
}

std::uint32_t memoryGetPosition(qon_XDR* stream) {
    return static_cast<std::uint32_t>(position(stream) - static_cast<std::byte*>(stream->x_base));
}

int memorySetPosition(qon_XDR* stream, std::uint32_t to) {
    auto* base = static_cast<std::byte*>(stream->x_base);
    const auto size = static_cast<std::uint32_t>(stream->x_ops->end - base);
    if (to > size) return 0;
    stream->x_private = base + to;
    stream->x_handy = static_cast<std::int32_t>(size - to);
    return 1;
}

void* memoryInline(qon_XDR* stream, std::uint32_t count) {
    if (stream->x_handy < 0 || count > static_cast<std::uint32_t>(stream->x_handy)) return nullptr;
    void* here = stream->x_private;
    stream->x_private = position(stream) + count;
    stream->x_handy -= static_cast<std::int32_t>(count);
    return here;
}

void destroyStream(qon_XDR* stream) {
    delete stream->x_ops;
    stream->x_ops = nullptr;
}

// The one place of the input path that tries again: a stream whose first read fell short may deliver on the
// second.
int qon_xdrstdio_getlong(qon_XDR* stream, std::int32_t* value) {
    if (!value) {
        std::printf("qon_xdrstdio_getlong() failed.  Invalid (NULL) output\n");
        return 0;
    }
    std::FILE* from = file(stream);
    if (!from) {
        std::printf("qon_xdrstdio_getlong() failed.  Invalid (NULL) file handle\n");
        return 0;
    }
    if (const int error = std::ferror(from)) {
        std::printf("qon_xdrstdio_getlong() failed.  ferror returned %i before fread\n", error);
        return 0;
    }
    std::byte word[wordSize];
    auto got = static_cast<int>(std::fread(word, wordSize, 1, from));
    if (got != 1) {
        std::printf("qon_xdrstdio_getlong() failed.  fread() returned %d.  errno set to %d\n", got, errno);
        got = static_cast<int>(std::fread(word, wordSize, 1, from));
        if (got != 1) {
            const int error = errno;
            std::printf(
                "qon_xdrstdio_getlong() failed (second attempt).  fread() returned %i.  errno set to %i, "
                "ferror returned %i, feof returned %i %%\n",
                got, error, std::ferror(from), std::feof(from));
            return 0;
        }
    }
    *value = static_cast<std::int32_t>(loadWord(word));
    return 1;
}

int qon_xdrstdio_putlong(qon_XDR* stream, const std::int32_t* value) {
    if (!value || !file(stream)) return 0;
    std::byte word[wordSize];
    storeWord(word, static_cast<std::uint32_t>(*value));
    return std::fwrite(word, wordSize, 1, file(stream)) == 1;
}

int qon_xdrstdio_getbytes(qon_XDR* stream, void* bytes, std::uint32_t count) {
    if (count == 0) return 1;
    if (std::fread(bytes, count, 1, file(stream)) == 1) return 1;
    std::printf("qon_xdrstdio_getbytes() failed.  fread() returned 0.  errno set to %d\n", errno);
    return 0;
}

int qon_xdrstdio_putbytes(qon_XDR* stream, const void* bytes, std::uint32_t count) {
    return count == 0 || std::fwrite(bytes, count, 1, file(stream)) == 1;
}

std::uint32_t stdioGetPosition(qon_XDR* stream) {
    return static_cast<std::uint32_t>(std::ftell(file(stream)));
}
int stdioSetPosition(qon_XDR* stream, std::uint32_t to) {
    return std::fseek(file(stream), to, SEEK_SET) >= 0;
}
void* stdioInline(qon_XDR*, std::uint32_t) {
    return nullptr;
}

constexpr std::byte padding[wordSize]{};
std::uint32_t paddingOf(std::uint32_t count) {
    return (wordSize - count % wordSize) % wordSize;
}

} // namespace

void qon_xdrmem_create(qon_XDR* stream, void* buffer, std::uint32_t size, std::uint32_t op) {
    auto* base = static_cast<std::byte*>(buffer);
    stream->x_op = op;
    stream->x_ops =
        new qon_XDR_ops{memoryGetLong,     memoryPutLong, memoryGetBytes, memoryPutBytes, memoryGetPosition,
                        memorySetPosition, memoryInline,  destroyStream,  nullptr,        base + size};
    stream->x_public = nullptr;
    stream->x_private = base;
    stream->x_base = base;
    stream->x_handy = static_cast<std::int32_t>(size);
}

void qon_xdrstdio_create(qon_XDR* stream, std::FILE* file, std::uint32_t op) {
    stream->x_op = op;
    stream->x_ops = new qon_XDR_ops{qon_xdrstdio_getlong,
                                    qon_xdrstdio_putlong,
                                    qon_xdrstdio_getbytes,
                                    qon_xdrstdio_putbytes,
                                    stdioGetPosition,
                                    stdioSetPosition,
                                    stdioInline,
                                    destroyStream,
                                    nullptr,
                                    nullptr};
    stream->x_public = nullptr;
    stream->x_private = file;
    stream->x_base = nullptr;
    stream->x_handy = 0;
}

void qon_xdr_destroy(qon_XDR* stream) {
    if (stream->x_ops) stream->x_ops->destroy(stream);
}

std::uint32_t qon_xdr_getpos(qon_XDR* stream) {
    return stream->x_ops ? stream->x_ops->getpostn(stream) : 0;
}

int qon_xdr_setpos(qon_XDR* stream, std::uint32_t position) {
    return stream->x_ops ? stream->x_ops->setpostn(stream, position) : 0;
}

namespace {

// One value on one word, in whichever direction the stream runs.
template <class Value>
int codeWord(qon_XDR* stream, Value* value) {
    if (stream->x_op == XDR_FREE) return 1;
    if (!stream->x_ops) return 0;
    if (stream->x_op == XDR_ENCODE) {
        const auto word = static_cast<std::int32_t>(*value);
        return stream->x_ops->putlong(stream, &word);
    }
    if (stream->x_op != XDR_DECODE) return 0;
    std::int32_t word = 0;
    if (!stream->x_ops->getlong(stream, &word)) return 0;
    *value = static_cast<Value>(word);
    return 1;
}

void* allocate(std::size_t size, const char* codec) {
    void* memory = qon_xdr_allocate(size);
    if (!memory) std::fprintf(stderr, "%s: out of memory\n", codec);
    return memory;
}

} // namespace

int qon_xdr_int(qon_XDR* stream, std::int32_t* value) {
    return codeWord(stream, value);
}
int qon_xdr_u_int(qon_XDR* stream, std::uint32_t* value) {
    return codeWord(stream, value);
}
int qon_xdr_short(qon_XDR* stream, std::int16_t* value) {
    return codeWord(stream, value);
}
int qon_xdr_u_short(qon_XDR* stream, std::uint16_t* value) {
    return codeWord(stream, value);
}
int qon_xdr_char(qon_XDR* stream, char* value) {
    return codeWord(stream, value);
}

int qon_xdr_double(qon_XDR* stream, double* value) {
    auto bits = stream->x_op == XDR_ENCODE ? std::bit_cast<std::uint64_t>(*value) : 0;
    auto low = static_cast<std::uint32_t>(bits);
    auto high = static_cast<std::uint32_t>(bits >> 32);
    if (!codeWord(stream, &low) || !codeWord(stream, &high)) return 0;
    if (stream->x_op == XDR_DECODE) *value = std::bit_cast<double>(std::uint64_t{high} << 32 | low);
    return 1;
}

int qon_xdr_opaque(qon_XDR* stream, void* bytes, std::uint32_t count) {
    if (count == 0 || stream->x_op == XDR_FREE) return 1;
    if (!stream->x_ops) return 0;
    const std::uint32_t pad = paddingOf(count);
    if (stream->x_op == XDR_ENCODE)
        return stream->x_ops->putbytes(stream, bytes, count) && stream->x_ops->putbytes(stream, padding, pad);
    if (stream->x_op != XDR_DECODE) return 0;
    std::byte discarded[wordSize];
    return stream->x_ops->getbytes(stream, bytes, count) && stream->x_ops->getbytes(stream, discarded, pad);
}

int qon_xdr_bytes(qon_XDR* stream, char** bytes, std::uint32_t* size, std::uint32_t maxSize) {
    if (!qon_xdr_u_int(stream, size)) return 0;
    if (stream->x_op == XDR_FREE) {
        std::free(*bytes);
        *bytes = nullptr;
        return 1;
    }
    if (*size > maxSize) return 0;
    if (stream->x_op == XDR_DECODE) {
        if (*size == 0) return 1;
        if (!*bytes && !(*bytes = static_cast<char*>(allocate(*size, "xdr_bytes")))) return 0;
    }
    return qon_xdr_opaque(stream, *bytes, *size);
}

int qon_xdr_string(qon_XDR* stream, char** text, std::uint32_t maxSize) {
    std::uint32_t length = 0;
    if (stream->x_op != XDR_DECODE) {
        if (!*text) return stream->x_op == XDR_FREE;
        length = static_cast<std::uint32_t>(std::strlen(*text));
    }
    if (!qon_xdr_u_int(stream, &length) || length > maxSize) return 0;
    if (stream->x_op == XDR_FREE) {
        std::free(*text);
        *text = nullptr;
        return 1;
    }
    if (stream->x_op == XDR_DECODE) {
        if (length + 1 == 0) return 1;
        if (!*text && !(*text = static_cast<char*>(allocate(std::size_t{length} + 1, "xdr_string"))))
            return 0;
        (*text)[length] = '\0';
    }
    return qon_xdr_opaque(stream, *text, length);
}

int qon_xdr_array(qon_XDR* stream, void** elements, std::uint32_t* count, std::uint32_t maxCount,
                  std::uint32_t elementSize, qon_xdr_proc elementProc) {
    if (!qon_xdr_u_int(stream, count)) return 0;
    if (*count > maxCount && stream->x_op != XDR_FREE) return 0;
    if (!*elements) {
        if (stream->x_op == XDR_FREE) return 1;
        if (stream->x_op == XDR_DECODE) {
            if (*count == 0) return 1;
            *elements = allocate(std::size_t{*count} * elementSize, "xdr_array");
            if (!*elements) return 0;
            std::memset(*elements, 0, std::size_t{*count} * elementSize);
        } else if (*count != 0) {
            return 0;
        }
    }
    auto* element = static_cast<std::byte*>(*elements);
    for (std::uint32_t i = 0; i < *count; ++i, element += elementSize)
        if (!elementProc(stream, element)) return 0;
    if (stream->x_op == XDR_FREE) {
        std::free(*elements);
        *elements = nullptr;
    }
    return 1;
}
