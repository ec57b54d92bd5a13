/* The whole public interface of xebruk. */
#ifndef XEBRUK_XEBRUK_H
#define XEBRUK_XEBRUK_H

#include "frame.h"
#include "vm_div.h"
#include "vm_pack.h"
#include "vm_power.h"
#include "vm_roots.h"

#endif
