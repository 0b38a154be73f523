#ifndef SKAR_EXPORT_H
#define SKAR_EXPORT_H

/* SKAR_API marks what the shared library shows to its callers; everything else stays hidden. SKAR_EXPORT is the
   same with C linkage, for functions that any language can call. */
#define SKAR_API __attribute__((visibility("default")))

#ifdef __cplusplus
#define SKAR_EXPORT extern "C" SKAR_API
#else
#define SKAR_EXPORT SKAR_API
#endif

#endif
