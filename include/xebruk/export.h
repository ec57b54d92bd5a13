/* Export and calling-convention macros shared by every public header. */
#ifndef XEBRUK_EXPORT_H
#define XEBRUK_EXPORT_H

#if defined(XEBRUK_STATIC)
#  define XEBRUK_API
#elif defined(_WIN32)
#  if defined(XEBRUK_BUILDING)
#    define XEBRUK_API __declspec(dllexport)
#  else
#    define XEBRUK_API __declspec(dllimport)
#  endif
#else
#  define XEBRUK_API __attribute__((visibility("default")))
#endif

#ifdef __cplusplus
#  define XEBRUK_EXTERN_C_BEGIN extern "C" {
#  define XEBRUK_EXTERN_C_END }
#else
#  define XEBRUK_EXTERN_C_BEGIN
#  define XEBRUK_EXTERN_C_END
#endif

#endif
