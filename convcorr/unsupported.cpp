// The kernel entries without an implementation: twenty exported names of
// one function that reads no argument and returns RUK_TASK_ERROR_UNSUPPORTED.
// Each name keeps the call form of its family in the header.  A function
// of no parameters may be called with any arguments under the x86-64 and
// x86 C calling conventions (the caller owns the argument area), so one
// body serves every form; the compiler's check of alias types is silenced
// for that reason only.
#include "xebruk/convcorr.h"

extern "C" {

int32_t ruk_unsupported_kernel() { return RUK_TASK_ERROR_UNSUPPORTED; }

#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wattribute-alias"
#pragma GCC diagnostic ignored "-Wmissing-attributes"
#endif
RukDirect1DNodecD rukConvDDDirect1D_nodec __attribute__((alias("ruk_unsupported_kernel")));
RukDirect1DNodecD rukCorrDDDirect1D_nodec __attribute__((alias("ruk_unsupported_kernel")));
RukDirectAllNodecD rukConvDDDirectAll_nodec __attribute__((alias("ruk_unsupported_kernel")));
RukDirectAllNodecD rukCorrDDDirectAll_nodec __attribute__((alias("ruk_unsupported_kernel")));
RukFft1DD rukConvDDFft1D_dec __attribute__((alias("ruk_unsupported_kernel")));
RukFft1DD rukCorrDDFft1D_dec __attribute__((alias("ruk_unsupported_kernel")));
RukFft1DD rukConvDDFft1D_nodec __attribute__((alias("ruk_unsupported_kernel")));
RukFft1DD rukCorrDDFft1D_nodec __attribute__((alias("ruk_unsupported_kernel")));
RukDirect1DNodecS rukConvSDDirect1D_nodec __attribute__((alias("ruk_unsupported_kernel")));
RukDirect1DNodecS rukCorrSDDirect1D_nodec __attribute__((alias("ruk_unsupported_kernel")));
RukDirectAllNodecS rukConvSDDirectAll_nodec __attribute__((alias("ruk_unsupported_kernel")));
RukDirectAllNodecS rukCorrSDDirectAll_nodec __attribute__((alias("ruk_unsupported_kernel")));
RukFft1DS rukConvSDFft1D_dec __attribute__((alias("ruk_unsupported_kernel")));
RukFft1DS rukCorrSDFft1D_dec __attribute__((alias("ruk_unsupported_kernel")));
RukFft1DS rukConvSDFft1D_nodec __attribute__((alias("ruk_unsupported_kernel")));
RukFft1DS rukCorrSDFft1D_nodec __attribute__((alias("ruk_unsupported_kernel")));
RukDirectAllNodecS rukConvSSDirectAll_nodec __attribute__((alias("ruk_unsupported_kernel")));
RukDirectAllNodecS rukCorrSSDirectAll_nodec __attribute__((alias("ruk_unsupported_kernel")));
RukFft1DS rukConvSSFft1D_dec __attribute__((alias("ruk_unsupported_kernel")));
RukFft1DS rukCorrSSFft1D_dec __attribute__((alias("ruk_unsupported_kernel")));
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic pop
#endif

}  // extern "C"
