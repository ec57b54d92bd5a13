/* The whole public interface of xebruk. */
#ifndef XEBRUK_XEBRUK_H
#define XEBRUK_XEBRUK_H

#include "frame.h"
#include "vm_div.h"
#include "vm_pack.h"
#include "vm_power.h"
#include "vm_roots.h"
#include "vm_invtrig.h"
#include "vm_scalar.h"
#include "vm_trig.h"
#include "vm_erf.h"
#include "rng_stream.h"
#include "rng_modular.h"
#include "rng_generators.h"
#include "rng_abstract.h"
#include "rng_continuous.h"
#include "rng_discrete.h"
#include "vm_explog.h"
#include "vm_hyperbolic.h"
#include "vm.h"
#include "convcorr.h"

#endif
