/*
 * velto.h -- the public interface of the Velto optimization library.
 *
 * Pure C.  Every exported function carries the prefix VLT, takes an
 * environment handle first and, where it has one, a problem handle second,
 * and reports failure by a numeric status (0 on success).
 */
#ifndef VELTO_H
#define VELTO_H

#include <stdio.h>
#include <stddef.h>

#if defined(VELTO_BUILDING)
#define VLTAPI __attribute__((visibility("default")))
#else
#define VLTAPI
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* ------------------------------------------------------------------------
 * Handles
 * ------------------------------------------------------------------------ */
typedef struct velto_env *VLTENVptr;
typedef const struct velto_env *VLTCENVptr;
typedef struct velto_lp *VLTLPptr;
typedef const struct velto_lp *VLTCLPptr;
typedef struct velto_net *VLTNETptr;
typedef const struct velto_net *VLTCNETptr;
typedef struct velto_channel *VLTCHANNELptr;

typedef void (*VLTMSGFUNC)(void *handle, const char *text);

/* ------------------------------------------------------------------------
 * Special numbers
 * ------------------------------------------------------------------------ */
#define VLT_INFBOUND 1.0E+20
#define VLT_BIGREAL 1.0E+75
#define VLT_BIGINT 2100000000
#define VLT_VERSION_STRING "8.1.0"

/* Basis status values */
#define VLT_AT_LOWER 0
#define VLT_BASIC 1
#define VLT_AT_UPPER 2
#define VLT_FREE_SUPER 3

/* ------------------------------------------------------------------------
 * Environment, memory and streams
 * ------------------------------------------------------------------------ */
VLTAPI VLTENVptr VLTopenVELTO(int *status_p);
VLTAPI int VLTcloseVELTO(VLTENVptr *env_p);
VLTAPI const char *VLTversion(VLTCENVptr env);
VLTAPI int VLTEgetThreadNumber(VLTCENVptr env);
VLTAPI double VLTEgetbigreal(VLTCENVptr env);

VLTAPI void *VLTmalloc(size_t size);
VLTAPI void *VLTrealloc(void *block, size_t size);
VLTAPI void VLTfree(void *block);
VLTAPI void *VLTmemcpy(void *dest, const void *src, size_t n);
VLTAPI size_t VLTstrlen(const char *s);
VLTAPI char *VLTstrcpy(char *dest, const char *src);
VLTAPI FILE *VLTfopen(const char *name, const char *mode);
VLTAPI int VLTfclose(FILE *fp);
VLTAPI int VLTfputs(const char *s, FILE *fp);
VLTAPI int VLTputenv(char *envsetting);
VLTAPI void VLTEgeneric_lock(volatile int *word);
VLTAPI void VLTEgeneric_unlock(volatile int *word);

/* ------------------------------------------------------------------------
 * Message channels
 * ------------------------------------------------------------------------ */
VLTAPI VLTCHANNELptr VLTaddchannel(VLTENVptr env);
VLTAPI void VLTdelchannel(VLTENVptr env, VLTCHANNELptr *channel_p);
VLTAPI int VLTdisconnectchannel(VLTENVptr env, VLTCHANNELptr channel);
VLTAPI int VLTflushchannel(VLTENVptr env, VLTCHANNELptr channel);
VLTAPI int VLTaddfpdest(VLTENVptr env, VLTCHANNELptr channel, FILE *fp);
VLTAPI int VLTdelfpdest(VLTENVptr env, VLTCHANNELptr channel, FILE *fp);
VLTAPI int VLTaddfuncdest(VLTENVptr env, VLTCHANNELptr channel, void *handle,
                          VLTMSGFUNC func);
VLTAPI int VLTdelfuncdest(VLTENVptr env, VLTCHANNELptr channel, void *handle,
                          VLTMSGFUNC func);
VLTAPI int VLTmsg(VLTCHANNELptr channel, const char *format, ...)
    __attribute__((format(printf, 2, 3)));
VLTAPI int VLTmsgstr(VLTCHANNELptr channel, const char *text);
VLTAPI int VLTgetchannels(VLTENVptr env, VLTCHANNELptr *results_p,
                          VLTCHANNELptr *warning_p, VLTCHANNELptr *error_p,
                          VLTCHANNELptr *log_p);
VLTAPI int VLTflushstdchannels(VLTENVptr env);
VLTAPI int VLTsetlogfile(VLTENVptr env, FILE *fp);
VLTAPI int VLTgetlogfile(VLTENVptr env, FILE **fp_p);

/* ------------------------------------------------------------------------
 * Error and status texts
 * ------------------------------------------------------------------------ */
VLTAPI const char *VLTgeterrorstring(VLTCENVptr env, int code, char *buffer);
VLTAPI const char *VLTgetstatstring(VLTCENVptr env, int statind, char *buffer);

/* @@ERROR-CODES@@ (error code constants go here) */

/* @@STATUS-CODES@@ (solution status constants go here) */

/* ------------------------------------------------------------------------
 * Parameters
 * ------------------------------------------------------------------------ */
/* @@PARAM-FUNCTIONS@@ */

/* @@PARAM-CONSTANTS@@ */

/* ------------------------------------------------------------------------
 * Problem object, loading, names, queries, changes, solution
 * ------------------------------------------------------------------------ */
VLTAPI VLTLPptr VLTcreateprob(VLTENVptr env, int *status_p, const char *probname);
VLTAPI int VLTfreeprob(VLTENVptr env, VLTLPptr *lp_p);

/* @@PROBLEM-STORE@@ */

/* ------------------------------------------------------------------------
 * Model files
 * ------------------------------------------------------------------------ */
/* @@FILES@@ */

/* ------------------------------------------------------------------------
 * Optimizers
 * ------------------------------------------------------------------------ */
/* @@OPTIMIZERS@@ */

#ifdef __cplusplus
}
#endif

#endif /* VELTO_H */
