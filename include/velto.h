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
/* Loading and copying */
typedef const char *(*VLTNAMEFUNC)(void *handle, int index);

VLTAPI int VLTcopylp(VLTENVptr env, VLTLPptr lp, int numcols, int numrows, int objsen,
                     const double *obj, const double *rhs, const char *sense,
                     const int *matbeg, const int *matcnt, const int *matind,
                     const double *matval, const double *lb, const double *ub,
                     const double *rngval);
VLTAPI int VLTcopylpwnames(VLTENVptr env, VLTLPptr lp, int numcols, int numrows,
                           int objsen, const double *obj, const double *rhs,
                           const char *sense, const int *matbeg, const int *matcnt,
                           const int *matind, const double *matval, const double *lb,
                           const double *ub, const double *rngval, char **colname,
                           char **rowname);
VLTAPI int VLTcopyobjname(VLTENVptr env, VLTLPptr lp, const char *objname);
VLTAPI VLTLPptr VLTcloneprob(VLTENVptr env, VLTLPptr lp, int *status_p);
VLTAPI int VLTcompletelp(VLTENVptr env, VLTLPptr lp);
VLTAPI int VLTgetprobtype(VLTENVptr env, VLTLPptr lp);
VLTAPI int VLTcopyctype(VLTENVptr env, VLTLPptr lp, const char *ctype);
VLTAPI int VLTchgctype(VLTENVptr env, VLTLPptr lp, int cnt, const int *indices,
                       const char *ctype);
VLTAPI int VLTgetctype(VLTENVptr env, VLTLPptr lp, char *ctype, int begin, int end);

/* Names */
VLTAPI int VLTchgname(VLTENVptr env, VLTLPptr lp, int key, int ij, const char *name);
VLTAPI int VLTchgrowname(VLTENVptr env, VLTLPptr lp, int cnt, const int *indices,
                         char **newname);
VLTAPI int VLTchgcolname(VLTENVptr env, VLTLPptr lp, int cnt, const int *indices,
                         char **newname);
VLTAPI int VLTdelnames(VLTENVptr env, VLTLPptr lp);
VLTAPI int VLTchgprobname(VLTENVptr env, VLTLPptr lp, const char *probname);
VLTAPI int VLTEsetnamefunctions(VLTENVptr env, VLTNAMEFUNC colfunc, VLTNAMEFUNC rowfunc,
                                void *handle);
VLTAPI int VLTgetcolname(VLTENVptr env, VLTLPptr lp, char **name, char *namestore,
                         int storespace, int *surplus_p, int begin, int end);
VLTAPI int VLTgetrowname(VLTENVptr env, VLTLPptr lp, char **name, char *namestore,
                         int storespace, int *surplus_p, int begin, int end);
VLTAPI int VLTgetprobname(VLTENVptr env, VLTLPptr lp, char *buf, int bufspace,
                          int *surplus_p);
VLTAPI int VLTgetobjname(VLTENVptr env, VLTLPptr lp, char *buf, int bufspace,
                         int *surplus_p);
VLTAPI int VLTgetcolindex(VLTENVptr env, VLTLPptr lp, const char *lname, int *index_p);
VLTAPI int VLTgetrowindex(VLTENVptr env, VLTLPptr lp, const char *lname, int *index_p);

/* Model queries */
VLTAPI int VLTgetnumrows(VLTENVptr env, VLTLPptr lp);
VLTAPI int VLTgetnumcols(VLTENVptr env, VLTLPptr lp);
VLTAPI int VLTgetnumnz(VLTENVptr env, VLTLPptr lp);
VLTAPI int VLTgetobjsen(VLTENVptr env, VLTLPptr lp);
VLTAPI int VLTgetobjoffset(VLTENVptr env, VLTLPptr lp, double *objoffset_p);
VLTAPI int VLTgetobj(VLTENVptr env, VLTLPptr lp, double *obj, int begin, int end);
VLTAPI int VLTgetrhs(VLTENVptr env, VLTLPptr lp, double *rhs, int begin, int end);
VLTAPI int VLTgetsense(VLTENVptr env, VLTLPptr lp, char *sense, int begin, int end);
VLTAPI int VLTgetlb(VLTENVptr env, VLTLPptr lp, double *lb, int begin, int end);
VLTAPI int VLTgetub(VLTENVptr env, VLTLPptr lp, double *ub, int begin, int end);
VLTAPI int VLTgetrngval(VLTENVptr env, VLTLPptr lp, double *rngval, int begin, int end);
VLTAPI int VLTgetcols(VLTENVptr env, VLTLPptr lp, int *nzcnt_p, int *cmatbeg,
                      int *cmatind, double *cmatval, int cmatspace, int *surplus_p,
                      int begin, int end);
VLTAPI int VLTgetrows(VLTENVptr env, VLTLPptr lp, int *nzcnt_p, int *rmatbeg,
                      int *rmatind, double *rmatval, int rmatspace, int *surplus_p,
                      int begin, int end);
VLTAPI int VLTgetcoef(VLTENVptr env, VLTLPptr lp, int i, int j, double *coef_p);

/* Model changes */
VLTAPI void VLTchgobjsen(VLTENVptr env, VLTLPptr lp, int maxormin);
VLTAPI int VLTchgobj(VLTENVptr env, VLTLPptr lp, int cnt, const int *indices,
                     const double *values);
VLTAPI int VLTchgrhs(VLTENVptr env, VLTLPptr lp, int cnt, const int *indices,
                     const double *values);
VLTAPI int VLTchgbds(VLTENVptr env, VLTLPptr lp, int cnt, const int *indices,
                     const char *lu, const double *bd);
VLTAPI int VLTchgsense(VLTENVptr env, VLTLPptr lp, int cnt, const int *indices,
                       const char *sense);
VLTAPI int VLTaddrows(VLTENVptr env, VLTLPptr lp, int ccnt, int rcnt, int nzcnt,
                      const double *rhs, const char *sense, const int *rmatbeg,
                      const int *rmatind, const double *rmatval, char **colname,
                      char **rowname);
VLTAPI int VLTnewrows(VLTENVptr env, VLTLPptr lp, int rcnt, const double *rhs,
                      const char *sense, const double *rngval, char **rowname);
VLTAPI int VLTaddcols(VLTENVptr env, VLTLPptr lp, int ccnt, int nzcnt, const double *obj,
                      const int *cmatbeg, const int *cmatind, const double *cmatval,
                      const double *lb, const double *ub, char **colname);
VLTAPI int VLTnewcols(VLTENVptr env, VLTLPptr lp, int ccnt, const double *obj,
                      const double *lb, const double *ub, const char *ctype,
                      char **colname);

/* Change cache */
VLTAPI void *VLTEgetCache(VLTLPptr lp);
VLTAPI int VLTEcacheNewCols(VLTENVptr env, VLTLPptr lp, int count, const double *obj,
                            const double *lb, const double *ub, const char *ctype,
                            char **names);
VLTAPI int VLTEcacheNewRows(VLTENVptr env, VLTLPptr lp, int count, const double *rhs,
                            const char *sense, const double *rngval, char **names);
VLTAPI int VLTEcacheNewNZsByNZ(VLTENVptr env, VLTLPptr lp, int count, const int *rows,
                               const int *cols, const double *values);

/* Solution */
VLTAPI int VLTsolution(VLTENVptr env, VLTLPptr lp, int *lpstat_p, double *objval_p,
                       double *x, double *pi, double *slack, double *dj);
VLTAPI int VLTsolninfo(VLTENVptr env, VLTLPptr lp, int *solnmethod_p, int *solntype_p,
                       int *pfeasind_p, int *dfeasind_p);
VLTAPI int VLTgetobjval(VLTENVptr env, VLTLPptr lp, double *objval_p);
VLTAPI int VLTgetx(VLTENVptr env, VLTLPptr lp, double *x, int begin, int end);
VLTAPI int VLTgetslack(VLTENVptr env, VLTLPptr lp, double *slack, int begin, int end);
VLTAPI int VLTgetpi(VLTENVptr env, VLTLPptr lp, double *pi, int begin, int end);
VLTAPI int VLTgetdj(VLTENVptr env, VLTLPptr lp, double *dj, int begin, int end);
VLTAPI int VLTgetax(VLTENVptr env, VLTLPptr lp, double *ax, int begin, int end);
VLTAPI int VLTgetmethod(VLTENVptr env, VLTLPptr lp);
VLTAPI int VLTgetstat(VLTENVptr env, VLTLPptr lp);
VLTAPI int VLTgetitcnt(VLTENVptr env, VLTLPptr lp);
VLTAPI int VLTgetphase1cnt(VLTENVptr env, VLTLPptr lp);
VLTAPI int VLTgetbaritcnt(VLTENVptr env, VLTLPptr lp);
VLTAPI int VLTgetcrossppushcnt(VLTENVptr env, VLTLPptr lp);
VLTAPI int VLTgetcrosspexchcnt(VLTENVptr env, VLTLPptr lp);
VLTAPI int VLTgetcrossdpushcnt(VLTENVptr env, VLTLPptr lp);
VLTAPI int VLTgetcrossdexchcnt(VLTENVptr env, VLTLPptr lp);
VLTAPI int VLTgetpsbcnt(VLTENVptr env, VLTLPptr lp);
VLTAPI int VLTgetdsbcnt(VLTENVptr env, VLTLPptr lp);
VLTAPI int VLTgetbase(VLTENVptr env, VLTLPptr lp, int *cstat, int *rstat);
VLTAPI int VLTcangetbase(VLTENVptr env, VLTLPptr lp);
VLTAPI int VLTcopybase(VLTENVptr env, VLTLPptr lp, const int *cstat, const int *rstat);
VLTAPI int VLTcopystart(VLTENVptr env, VLTLPptr lp, const int *cstat, const int *rstat,
                        const double *cprim, const double *rprim, const double *cdual,
                        const double *rdual);

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
