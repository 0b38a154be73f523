#pragma once

#include <skar/sensor.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>

// XDR (RFC 4506) on memory and on stdio files, with the store's own departures: a double has its low-order
// word first, a character takes a whole word, and there is no boolean, enumeration, float, hyper, union or
// pointer.

enum : std::uint32_t { XDR_ENCODE = 0, XDR_DECODE = 1, XDR_FREE = 2 };

struct qon_XDR_ops {
    int (*getlong)(qon_XDR*, std::int32_t*);
    int (*putlong)(qon_XDR*, const std::int32_t*);
    int (*getbytes)(qon_XDR*, void*, std::uint32_t);
    int (*putbytes)(qon_XDR*, const void*, std::uint32_t);
    std::uint32_t (*getpostn)(qon_XDR*);
    int (*setpostn)(qon_XDR*, std::uint32_t);
    void* (*inlineBytes)(qon_XDR*, std::uint32_t);
    void (*destroy)(qon_XDR*);
    void* spare;
    std::byte* end; // memory: behind the buffer, so that repositioning restores what a failed request took
};

// A stream over a caller's buffer, which is neither owned nor copied. Every stream made must be destroyed
// once, with qon_xdr_destroy; streams are not copied.
void qon_xdrmem_create(qon_XDR* stream, void* buffer, std::uint32_t size, std::uint32_t op);
// A stream over a stdio file, which stays open when the stream is destroyed.
void qon_xdrstdio_create(qon_XDR* stream, std::FILE* file, std::uint32_t op);
// Frees the operations; a stream already destroyed is left alone.
void qon_xdr_destroy(qon_XDR* stream);

std::uint32_t qon_xdr_getpos(qon_XDR* stream);
int qon_xdr_setpos(qon_XDR* stream, std::uint32_t position);

// Codecs: non-zero on success. They encode, decode or free by the stream's operation; any other operation
// fails.
int qon_xdr_int(qon_XDR* stream, std::int32_t* value);
int qon_xdr_u_int(qon_XDR* stream, std::uint32_t* value);
int qon_xdr_short(qon_XDR* stream, std::int16_t* value);
int qon_xdr_u_short(qon_XDR* stream, std::uint16_t* value);
int qon_xdr_char(qon_XDR* stream, char* value);
int qon_xdr_double(qon_XDR* stream, double* value);
// `count` bytes and zeros up to a multiple of four.
int qon_xdr_opaque(qon_XDR* stream, void* bytes, std::uint32_t count);
// Counted bytes, text and arrays. Decoding into a null pointer allocates with malloc; a count above the
// maximum fails before anything is allocated.
int qon_xdr_bytes(qon_XDR* stream, char** bytes, std::uint32_t* size, std::uint32_t maxSize);
int qon_xdr_string(qon_XDR* stream, char** text, std::uint32_t maxSize);
using qon_xdr_proc = int (*)(qon_XDR*, void*);
int qon_xdr_array(qon_XDR* stream, void** elements, std::uint32_t* count, std::uint32_t maxCount,
                  std::uint32_t elementSize, qon_xdr_proc elementProc);

// Where the codecs get their memory, so that a test can run out of it.
extern void* (*qon_xdr_allocate)(std::size_t);

namespace skar::fileio {

// Ends a stream with the scope that made it.
class XdrScope {
public:
    explicit XdrScope(qon_XDR& stream) noexcept : stream_(stream) {}
    ~XdrScope() { qon_xdr_destroy(&stream_); }
    XdrScope(const XdrScope&) = delete;
    XdrScope& operator=(const XdrScope&) = delete;

private:
    qon_XDR& stream_;
};

// The record buffer under a memory stream, as it is found after positioning the stream to 0, and the bytes
// that can be coded in it: 0 for a stream that is not of that operation or was destroyed.
struct RecordSpan {
    std::byte* bytes = nullptr;
    std::size_t size = 0;
};
inline RecordSpan recordSpan(const qon_XDR& stream, std::uint32_t op) noexcept {
    if (!stream.x_ops || stream.x_op != op || !stream.x_base) return {};
    auto* base = static_cast<std::byte*>(stream.x_base);
    return {base, static_cast<std::size_t>(stream.x_ops->end - base)};
}

} // namespace skar::fileio
