/**
 * @file
 * What stands behind the entry points of every dispatched operation. The operations are listed in visora/operations;
 * all that is declared here has the type of the operation's newest entry point, `<entry>`:
 * - `<operation>C`, the scalar reference, which defines the result;
 * - `<operation>V`, the vector variant, which gives the same bytes; where the list has C in place of V, vectors cannot
 *   gain and the reference serves as vector variant too;
 * - `<operation>_`, the implementation that the library's own callers use (the reference until a mode is set);
 * - `pp<operation>`, the address of that pointer, to read or replace the implementation in use;
 * - `<entry>R_`, the DSP variant for remote use, null while there is none;
 * and where a DSP can serve the operation its DSP routines:
 * - `<operation>K`, on the domain that is in use when it is called; without one it logs, does nothing and returns
 *   VISORA_EHWFAIL;
 * - `<operation>Ka`, `Kc` and `Km`, on the application, the compute and the modem DSP;
 * - `<operation>K_abstractionLayer` (declared for C++ only), over the open channel that its first argument, a uint64_t,
 *   names; the operation's own arguments follow. It makes the remote call, brings a DSP back that restarted meanwhile,
 *   and leaves the call to the vector variant when the DSP cannot do it.
 *
 * They take explicit strides and check nothing.
 */
#ifndef VISORA_VARIANTS_H
#define VISORA_VARIANTS_H

#include "visora/variants/arithmetic.h"
#include "visora/variants/background.h"
#include "visora/variants/color.h"
#include "visora/variants/corner.h"
#include "visora/variants/filter.h"
#include "visora/variants/geom.h"
#include "visora/variants/pyramid.h"
#include "visora/variants/runtime.h"
#include "visora/variants/scale.h"
#include "visora/variants/shape.h"
#include "visora/variants/statistics.h"
#include "visora/variants/track.h"
#include "visora/variants/warp.h"

#endif
