/**
 * @file
 * The DSP: which of the device's domains is used, the channel to it, and the session on it. Applications choose an
 * operation mode (runtime.h), which does all of this; it is there for those who start a session themselves. The
 * functions that the DSP's side has to provide are in dsp_stub.h.
 *
 * Sessions and channels start and stop on one thread at a time. Calls that the DSP serves may come from any thread.
 */
#ifndef VISORA_OFFLOAD_H
#define VISORA_OFFLOAD_H

#include <pthread.h>

#include "visora/types.h"

VSR_BEGIN_DECLARATIONS

/* ---- Domains. Which one is used: defaultDSP (dispatch.h), vsrSetDefaultDspEXT (runtime.h) ---- */

/** Kind that stands for the DSP in the mode tables: 4 application, 5 compute (initially), 6 modem DSP. */
extern VSR_VAR uint32_t defaultDspImplKind;

/** Handles of the open channels to the application, compute and modem DSP; 0 while a channel is not open. */
extern VSR_VAR uint64_t adsp_domain_handle;
extern VSR_VAR uint64_t cdsp_domain_handle;
extern VSR_VAR uint64_t mdsp_domain_handle;
/** Opens minus closes of each channel. An open that failed counts too. */
extern VSR_VAR int32_t adspDomainHandle_count;
extern VSR_VAR int32_t cdspDomainHandle_count;
extern VSR_VAR int32_t mdspDomainHandle_count;

/**
 * Open the channel to a domain. Only the first open of a domain creates its handle; a failure is logged and leaves the
 * handle 0. The search path of the DSP's side (environment variable ADSP_LIBRARY_PATH) is set on every open.
 */
VSR_API void domain_channel_open_adsp(void);
VSR_API void domain_channel_open_cdsp(void);
VSR_API void domain_channel_open_mdsp(void);
/** Close it. Every close stops the session on the DSP; the last one ends the handle too. */
VSR_API void domain_channel_close_adsp(void);
VSR_API void domain_channel_close_cdsp(void);
VSR_API void domain_channel_close_mdsp(void);
/** Open and close the channel to the domain in use; the argument is not looked at. */
VSR_API void domain_channel_open(uint64_t handle);
VSR_API void domain_channel_close(uint64_t handle);

/** Does nothing: the stub library is bound when the program loads. @return 0 */
VSR_API int32_t load_stub_symbols(void);

/* ---- Sessions ---- */

/** Session mode: 0 low power, 1 CPU offload, 2 performance. */
typedef int32_t VISORAHW_K6_MODE;

/** 0 no session was started, 1 one runs, 2 the last start failed. */
extern VSR_VAR int32_t kcvak6State;
/** Mode of the running session, -1 when none runs. */
extern VSR_VAR int32_t kcvak6CurrentMode;
/** The attribute that a session starts with: id 3, the session mode. */
extern VSR_VAR vsrK6Attribute K6SessionAttribute;
/** Exists while a session does. */
extern VSR_VAR pthread_mutex_t k6SessionMutex;

/**
 * Starts a session on the DSP domain in use, unless one with this mode runs. A start that failed is not tried again
 * before KCVAK6_deinit.
 * @param mode     0 low power, 1 CPU offload, 2 performance
 * @param version  the library's version text; its major version has to be the DSP side's
 * @return 0, or -1 when there is no DSP or it refused
 */
VSR_API int32_t KCVAK6_init(int32_t mode, const char* version);
/** Ends the session. @return 0, or the error of its clean-up */
VSR_API int32_t KCVAK6_deinit(void);
/** Whether a session runs. */
VSR_API bool KCVAK6_is_ready(void);
/** Mode of the running session, -1 when none runs. */
VSR_API int32_t KCVAK6_get_current_mode(void);
/** As KCVAK6_init, but starts a session whatever was before. @return 0 or -1 */
VSR_API int32_t vsrK6Initialize(VISORAHW_K6_MODE mode, char* version);

/**
 * Reads the domain from its property, opens its channel and starts the DSP's side; does not touch kcvak6State.
 * @param mode  another value than 0, 1 or 2 starts the session without attributes
 * @return 0, -1 when the DSP or its version refused, 6 when no domain is in use
 */
VSR_API int32_t vsrK6SessionInit(int32_t mode, const char* version);
/** Closes the channel that the session's start opened. @return 0, or the error number of destroying k6SessionMutex */
VSR_API int32_t vsrK6SessionDeInit(void);

/** Start the DSP's side on an open channel. Without a version to compare they fail. @return 0 or -1 */
VSR_API int32_t vsrK6SessionInit_internal(uint64_t handle, const vsrK6Attribute* attributes, uint32_t count,
                                          const char* version);
VSR_API int32_t vsrK6SessionInit_internal_adsp(const vsrK6Attribute* attributes, uint32_t count, const char* version);
VSR_API int32_t vsrK6SessionInit_internal_cdsp(const vsrK6Attribute* attributes, uint32_t count, const char* version);
VSR_API int32_t vsrK6SessionInit_internal_mdsp(const vsrK6Attribute* attributes, uint32_t count, const char* version);

/* ---- Restart of the DSP ---- */

/** Lets clean-up sequences run one at a time. */
extern VSR_VAR pthread_mutex_t ssrMutex;

/**
 * What a call that found the DSP restarted does before it tries again: asks whether the DSP answers, and if not, closes
 * and opens the channel `handle` and starts the DSP's side 15 times, a second apart.
 * @return 0 when the DSP answers and the call may be tried again, else -1
 */
VSR_API int32_t adspSSRcleanUpSequence(uint64_t handle);

/* ---- Probes and flags. K: on the domain in use, Ka, Kc, Km: on the application, compute, modem DSP;
        K_abstractionLayer: on an open channel. Without a domain in use K logs and returns 6, or 0 as a time. ---- */

/** The DSP's clock, 0 when it does not answer. */
VSR_API uint64_t vsrK6GetClk(void);
VSR_API uint64_t vsrK6GetClkK(void);
VSR_API uint64_t vsrK6GetClkKa(void);
VSR_API uint64_t vsrK6GetClkKc(void);
VSR_API uint64_t vsrK6GetClkKm(void);
VSR_API uint64_t vsrK6GetClkK_abstractionLayer(uint64_t handle);

/**
 * Timing probe: hands two words to the DSP. @return its time value; 0 in the reference, which also serves as vector
 * variant
 */
VSR_API uint64_t probeK6TimeC(uint32_t a, uint32_t b);

/** Switches the DSP's own messages. @return the DSP's answer, 1 when there is none */
VSR_DSP_ROUTINES(uint32_t, vsrUpdateDSPMsgFlag, uint32_t flag);

/** Non-zero (the initial state) while constraint checks are on; set by vsrUpdateK6ConstraintCheckFlag. */
extern VSR_VAR int32_t K6_constraint_checks_enable;
VSR_API void vsrUpdateK6ConstraintCheckFlag(int32_t enable);

/** Non-zero (the initial state) while offload routines test the DSP's constraints; set by the functions below. */
extern VSR_VAR int32_t k6AbstractionConstraintFlag;
/** @return 0 */
VSR_DSP_ROUTINES(uint32_t, vsrUpdateK6ConstraintCheckFlag, uint32_t enable);

/** Non-zero: offload routines log their calls; their unmet constraints. Both are 0 initially. */
extern VSR_VAR uint8_t libLogPrintK;
extern VSR_VAR uint8_t libLogPrintK_abstractionLayer;

VSR_END_DECLARATIONS

#endif
