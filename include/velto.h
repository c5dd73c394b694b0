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
 * Clones and progress callbacks
 * ------------------------------------------------------------------------ */
/* A progress callback: a non-zero result asks the optimizer to stop.  The
 * data is the problem in use (the network problem for the network
 * optimizer); wherefrom tells the optimizer. */
typedef int (*VLTCALLBACKFUNC)(VLTCENVptr env, void *cbdata, int wherefrom,
                               void *cbhandle);

#define VLT_CALLBACK_PRIMAL 1
#define VLT_CALLBACK_DUAL 2
#define VLT_CALLBACK_NETWORK 3
#define VLT_CALLBACK_PRIMAL_CROSSOVER 4
#define VLT_CALLBACK_DUAL_CROSSOVER 5
#define VLT_CALLBACK_BARRIER 6
#define VLT_CALLBACK_PRESOLVE 7
#define VLT_CALLBACK_QPBARRIER 8
#define VLT_CALLBACK_QPSIMPLEX 9

#define VLT_CALLBACK_INFO_PRIMAL_OBJ 1
#define VLT_CALLBACK_INFO_DUAL_OBJ 2
#define VLT_CALLBACK_INFO_PRIMAL_INFMEAS 3
#define VLT_CALLBACK_INFO_DUAL_INFMEAS 4
#define VLT_CALLBACK_INFO_PRIMAL_FEAS 5
#define VLT_CALLBACK_INFO_DUAL_FEAS 6
#define VLT_CALLBACK_INFO_ITCOUNT 7
#define VLT_CALLBACK_INFO_CROSSOVER_PPUSH 8
#define VLT_CALLBACK_INFO_CROSSOVER_PEXCH 9
#define VLT_CALLBACK_INFO_CROSSOVER_DPUSH 10
#define VLT_CALLBACK_INFO_CROSSOVER_DEXCH 11
#define VLT_CALLBACK_INFO_CROSSOVER_SBCNT 12
#define VLT_CALLBACK_INFO_PRESOLVE_ROWSGONE 13
#define VLT_CALLBACK_INFO_PRESOLVE_COLSGONE 14
#define VLT_CALLBACK_INFO_PRESOLVE_AGGSUBST 15
#define VLT_CALLBACK_INFO_PRESOLVE_COEFFS 16
#define VLT_CALLBACK_INFO_USER_PROBLEM 17

VLTAPI VLTENVptr VLTparenv(VLTENVptr env, int *status_p);
VLTAPI int VLTfreeparenv(VLTENVptr env, VLTENVptr *child_p);
VLTAPI int VLTsetlpcallbackfunc(VLTENVptr env, VLTCALLBACKFUNC callback,
                                void *cbhandle);
VLTAPI int VLTgetlpcallbackfunc(VLTCENVptr env, VLTCALLBACKFUNC *callback_p,
                                void **cbhandle_p);
VLTAPI int VLTsetmipcallbackfunc(VLTENVptr env, VLTCALLBACKFUNC callback,
                                 void *cbhandle);
VLTAPI int VLTgetmipcallbackfunc(VLTCENVptr env, VLTCALLBACKFUNC *callback_p,
                                 void **cbhandle_p);
VLTAPI int VLTsetnetcallbackfunc(VLTENVptr env, VLTCALLBACKFUNC callback,
                                 void *cbhandle);
VLTAPI int VLTgetnetcallbackfunc(VLTCENVptr env, VLTCALLBACKFUNC *callback_p,
                                 void **cbhandle_p);
VLTAPI int VLTgetcallbackinfo(VLTCENVptr env, void *cbdata, int wherefrom,
                              int whichinfo, void *result_p);

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
VLTAPI int VLTsetintparam(VLTENVptr env, int whichparam, int newvalue);
VLTAPI int VLTsetdblparam(VLTENVptr env, int whichparam, double newvalue);
VLTAPI int VLTsetstrparam(VLTENVptr env, int whichparam, const char *newvalue_str);
VLTAPI int VLTgetintparam(VLTCENVptr env, int whichparam, int *value_p);
VLTAPI int VLTgetdblparam(VLTCENVptr env, int whichparam, double *value_p);
VLTAPI int VLTgetstrparam(VLTCENVptr env, int whichparam, char *value_str);
VLTAPI int VLTinfointparam(VLTCENVptr env, int whichparam, int *defvalue_p,
                           int *minvalue_p, int *maxvalue_p);
VLTAPI int VLTinfodblparam(VLTCENVptr env, int whichparam, double *defvalue_p,
                           double *minvalue_p, double *maxvalue_p);
VLTAPI int VLTinfostrparam(VLTCENVptr env, int whichparam, char *defvalue_str);
VLTAPI int VLTgetparamname(VLTCENVptr env, int whichparam, char *name_str);
VLTAPI int VLTgetparamnum(VLTCENVptr env, const char *name_str, int *whichparam_p);
VLTAPI int VLTsetdefaults(VLTENVptr env);

/* @@PARAM-CONSTANTS@@ */
/* Length of a string parameter's field, closing zero included. */
#define VLT_STR_PARAM_MAX 516

/* Parameter numbers. */
#define VLT_PARAM_ADVIND             1001
#define VLT_PARAM_AGGFILL            1002
#define VLT_PARAM_AGGIND             1003
#define VLT_PARAM_BASINTERVAL        1004
#define VLT_PARAM_CFILEMUL           1005
#define VLT_PARAM_CLOCKTYPE          1006
#define VLT_PARAM_CRAIND             1007
#define VLT_PARAM_DEPIND             1008
#define VLT_PARAM_DPRIIND            1009
#define VLT_PARAM_PRICELIM           1010
#define VLT_PARAM_EPMRK              1013
#define VLT_PARAM_EPOPT              1014
#define VLT_PARAM_EPPER              1015
#define VLT_PARAM_EPRHS              1016
#define VLT_PARAM_IISIND             1018
#define VLT_PARAM_SIMDISPLAY         1019
#define VLT_PARAM_ITLIM              1020
#define VLT_PARAM_ROWREADLIM         1021
#define VLT_PARAM_NETFIND            1022
#define VLT_PARAM_COLREADLIM         1023
#define VLT_PARAM_NZREADLIM          1024
#define VLT_PARAM_OBJLLIM            1025
#define VLT_PARAM_OBJULIM            1026
#define VLT_PARAM_PERIND             1027
#define VLT_PARAM_PERLIM             1028
#define VLT_PARAM_PPRIIND            1029
#define VLT_PARAM_PREIND             1030
#define VLT_PARAM_REINV              1031
#define VLT_PARAM_REVERSEIND         1032
#define VLT_PARAM_RFILEMUL           1033
#define VLT_PARAM_SCAIND             1034
#define VLT_PARAM_SCRIND             1035
#define VLT_PARAM_SIMTHREADS         1036
#define VLT_PARAM_SINGLIM            1037
#define VLT_PARAM_SINGTOL            1038
#define VLT_PARAM_TILIM              1039
#define VLT_PARAM_XXXIND             1041
#define VLT_PARAM_EFFSLACKIND        1042
#define VLT_PARAM_PREDISP            1043
#define VLT_PARAM_PREDUAL            1044
#define VLT_PARAM_ROWGROWTH          1046
#define VLT_PARAM_COLGROWTH          1047
#define VLT_PARAM_NZGROWTH           1048
#define VLT_PARAM_PREPASS            1052
#define VLT_PARAM_DATACHECK          1056
#define VLT_PARAM_REDUCE             1057
#define VLT_PARAM_PRELINEAR          1058
#define VLT_PARAM_LPMETHOD           1062
#define VLT_PARAM_QPMETHOD           1063
#define VLT_PARAM_WORKDIR            1064
#define VLT_PARAM_WORKMEM            1065
#define VLT_PARAM_PRECOMPRESS        1066
#define VLT_PARAM_THREADS            1067
#define VLT_PARAM_SIFTDISPLAY        1076
#define VLT_PARAM_SIFTALG            1077
#define VLT_PARAM_SIFTITLIM          1078
#define VLT_PARAM_BRDIR              2001
#define VLT_PARAM_BTTOL              2002
#define VLT_PARAM_CLIQUES            2003
#define VLT_PARAM_COEREDIND          2004
#define VLT_PARAM_COVERS             2005
#define VLT_PARAM_CUTLO              2006
#define VLT_PARAM_CUTUP              2007
#define VLT_PARAM_EPAGAP             2008
#define VLT_PARAM_EPGAP              2009
#define VLT_PARAM_EPINT              2010
#define VLT_PARAM_MIPDISPLAY         2012
#define VLT_PARAM_MIPINTERVAL        2013
#define VLT_PARAM_MIPTHREADS         2014
#define VLT_PARAM_INTSOLLIM          2015
#define VLT_PARAM_NODEFILEIND        2016
#define VLT_PARAM_NODELIM            2017
#define VLT_PARAM_NODESEL            2018
#define VLT_PARAM_OBJDIF             2019
#define VLT_PARAM_MIPORDIND          2020
#define VLT_PARAM_RELOBJDIF          2022
#define VLT_PARAM_STARTALG           2025
#define VLT_PARAM_SUBALG             2026
#define VLT_PARAM_TRELIM             2027
#define VLT_PARAM_VARSEL             2028
#define VLT_PARAM_BNDSTRENIND        2029
#define VLT_PARAM_HEURFREQ           2031
#define VLT_PARAM_MIPORDTYPE         2032
#define VLT_PARAM_CUTSFACTOR         2033
#define VLT_PARAM_RELAXPREIND        2034
#define VLT_PARAM_MIPSTART           2035
#define VLT_PARAM_PRESLVND           2037
#define VLT_PARAM_BBINTERVAL         2039
#define VLT_PARAM_FLOWCOVERS         2040
#define VLT_PARAM_IMPLBD             2041
#define VLT_PARAM_PROBE              2042
#define VLT_PARAM_GUBCOVERS          2044
#define VLT_PARAM_STRONGCANDLIM      2045
#define VLT_PARAM_STRONGITLIM        2046
#define VLT_PARAM_STRONGTHREADLIM    2047
#define VLT_PARAM_FRACCAND           2048
#define VLT_PARAM_FRACCUTS           2049
#define VLT_PARAM_FRACPASS           2050
#define VLT_PARAM_FLOWPATHS          2051
#define VLT_PARAM_MIRCUTS            2052
#define VLT_PARAM_DISJCUTS           2053
#define VLT_PARAM_AGGCUTLIM          2054
#define VLT_PARAM_MIPCBREDLP         2055
#define VLT_PARAM_CUTPASS            2056
#define VLT_PARAM_MIPEMPHASIS        2058
#define VLT_PARAM_SYMMETRY           2059
#define VLT_PARAM_DIVETYPE           2060
#define VLT_PARAM_LOCALCOVERS        2061
#define VLT_PARAM_BAREPCOMP          3002
#define VLT_PARAM_BARGROWTH          3003
#define VLT_PARAM_BAROBJRNG          3004
#define VLT_PARAM_BARVARUP           3006
#define VLT_PARAM_BARALG             3007
#define VLT_PARAM_BARCOLNZ           3009
#define VLT_PARAM_BARDISPLAY         3010
#define VLT_PARAM_BARITLIM           3012
#define VLT_PARAM_BARMAXCOR          3013
#define VLT_PARAM_BARORDER           3014
#define VLT_PARAM_BARTHREADS         3016
#define VLT_PARAM_BARSTARTALG        3017
#define VLT_PARAM_BARCROSSALG        3018
#define VLT_PARAM_BAROOC             3019
#define VLT_PARAM_QPNZREADLIM        4001
#define VLT_PARAM_QPNZGROWTH         4002
#define VLT_PARAM_QPMAKEPSDIND       4010
#define VLT_PARAM_NETITLIM           5001
#define VLT_PARAM_NETEPOPT           5002
#define VLT_PARAM_NETEPRHS           5003
#define VLT_PARAM_NETPPRIIND         5004
#define VLT_PARAM_NETDISPLAY         5005

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
VLTAPI int VLTunscaleprob(VLTENVptr env, VLTLPptr lp);
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

/* Deletions, coefficient and range changes, tightened bounds */
VLTAPI int VLTdelrows(VLTENVptr env, VLTLPptr lp, int begin, int end);
VLTAPI int VLTdelcols(VLTENVptr env, VLTLPptr lp, int begin, int end);
VLTAPI int VLTdelsetrows(VLTENVptr env, VLTLPptr lp, int *delstat);
VLTAPI int VLTdelsetcols(VLTENVptr env, VLTLPptr lp, int *delstat);
VLTAPI int VLTchgcoef(VLTENVptr env, VLTLPptr lp, int i, int j, double newvalue);
VLTAPI int VLTchgcoeflist(VLTENVptr env, VLTLPptr lp, int numcoefs, const int *rowlist,
                          const int *collist, const double *vallist);
VLTAPI int VLTchgrngval(VLTENVptr env, VLTLPptr lp, int cnt, const int *indices,
                        const double *values);
VLTAPI int VLTtightenbds(VLTENVptr env, VLTLPptr lp, int cnt, const int *indices,
                         const char *lu, const double *bd);

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
/* norms: a head entry names column j as j and row i as -i-1 */
VLTAPI int VLTgetdnorms(VLTENVptr env, VLTLPptr lp, double *norm, int *head, int *len_p);
VLTAPI int VLTcopydnorms(VLTENVptr env, VLTLPptr lp, const double *norm, const int *head,
                         int len);
VLTAPI int VLTgetbasednorms(VLTENVptr env, VLTLPptr lp, int *cstat, int *rstat, double *dnorm);
VLTAPI int VLTcopybasednorms(VLTENVptr env, VLTLPptr lp, const int *cstat, const int *rstat,
                             const double *dnorm);
VLTAPI int VLTgetpnorms(VLTENVptr env, VLTLPptr lp, double *cnorm, double *rnorm, int *len_p);
VLTAPI int VLTcopypnorms(VLTENVptr env, VLTLPptr lp, const double *cnorm, const double *rnorm,
                         int len);
VLTAPI int VLTkilldnorms(VLTLPptr lp);
VLTAPI int VLTkillpnorms(VLTLPptr lp);

/* ------------------------------------------------------------------------
 * Model files
 * ------------------------------------------------------------------------ */
/* @@FILES@@ */
VLTAPI int VLTreadcopyprob(VLTENVptr env, VLTLPptr lp, const char *filename,
                           const char *filetype);
VLTAPI int VLTwriteprob(VLTENVptr env, VLTLPptr lp, const char *filename,
                        const char *filetype);
/* the dual of a linear program in MPS form; *objshift_p gets the shift of
 * the fixed columns taken out (the file's minimum is objshift - objsen x
 * the primal optimum) */
VLTAPI int VLTdualwrite(VLTENVptr env, VLTLPptr lp, const char *filename, double *objshift_p);
VLTAPI int VLTmpswrite(VLTENVptr env, VLTLPptr lp, const char *filename);
VLTAPI int VLTmpsrewrite(VLTENVptr env, VLTLPptr lp, const char *filename);
VLTAPI int VLTlpwrite(VLTENVptr env, VLTLPptr lp, const char *filename);
VLTAPI int VLTlprewrite(VLTENVptr env, VLTLPptr lp, const char *filename);
/* basis files */
VLTAPI int VLTmbasewrite(VLTENVptr env, VLTLPptr lp, const char *filename);
VLTAPI int VLTmbaseread(VLTENVptr env, const char *filename, int numcols, int numrows,
                        char **colname, char **rowname, int *cstat, int *rstat, double *cval,
                        double *rval);
VLTAPI int VLTreadcopybase(VLTENVptr env, VLTLPptr lp, const char *filename);
/* perturbed copies in the binary model form */
VLTAPI int VLTpperwrite(VLTENVptr env, VLTLPptr lp, const char *filename, double epsilon);
VLTAPI int VLTdperwrite(VLTENVptr env, VLTLPptr lp, const char *filename, double epsilon);
/* solution reports: text ("TXT") and binary ("BIN") */
VLTAPI int VLTwritesol(VLTENVptr env, VLTLPptr lp, const char *filename, const char *filetype);
/* The walker of the solution reports: header, rowsection, entry per row
 * (the objective row first, numbered 1), endsection, colsection, entry per
 * column, endsection; an absent limit is +-1.01e75; marker is ' ' or 'A'
 * (alternative optimum).  Null operations are skipped. */
typedef void (*VLTSOLHEADFUNC)(void *handle, const char *probname, const char *objname,
                               double objval, int lpstat, int pfeas, int iterations, int objsen,
                               int rows, int cols);
typedef void (*VLTSOLSECTFUNC)(void *handle);
typedef void (*VLTSOLENTRYFUNC)(void *handle, char marker, int number, const char *name,
                                const char *status, double activity, double second,
                                double lower, double upper, double dual);
VLTAPI int VLTsolwrite(VLTENVptr env, VLTLPptr lp, VLTSOLHEADFUNC header,
                       VLTSOLSECTFUNC rowsection, VLTSOLSECTFUNC colsection,
                       VLTSOLENTRYFUNC entry, VLTSOLSECTFUNC endsection, void *handle);
VLTAPI int VLTtxtsolwrite(VLTENVptr env, VLTLPptr lp, const char *filename);
VLTAPI int VLTbinsolwrite(VLTENVptr env, VLTLPptr lp, const char *filename);
/* binary model files; the arrays of the readers are released with VLTfree */
VLTAPI int VLTsavwrite(VLTENVptr env, VLTLPptr lp, const char *filename);
VLTAPI int VLTsavread(VLTENVptr env, const char *filename, int *numcols_p, int *numrows_p,
                      int *objsen_p, double **obj_p, double **rhs_p, char **sense_p,
                      int **matbeg_p, int **matcnt_p, int **matind_p, double **matval_p,
                      double **lb_p, double **ub_p, double **rngval_p, char ***colname_p,
                      char **colnamestore_p, char ***rowname_p, char **rownamestore_p);
/* text model files into arrays (VLTlpread reads standard input for a null
 * name; integer and quadratic data are dropped with a warning), and the
 * set-partitioning form; released with VLTfree.  rngval_p and the name
 * pointers are optional; *rngval_p stays null for a file without ranges. */
VLTAPI int VLTmpsread(VLTENVptr env, const char *filename, int *numcols_p, int *numrows_p,
                      int *objsen_p, double **obj_p, double **rhs_p, char **sense_p,
                      int **matbeg_p, int **matcnt_p, int **matind_p, double **matval_p,
                      double **lb_p, double **ub_p, double **rngval_p, char ***colname_p,
                      char **colnamestore_p, char ***rowname_p, char **rownamestore_p);
VLTAPI int VLTlpread(VLTENVptr env, const char *filename, int *numcols_p, int *numrows_p,
                     int *objsen_p, double **obj_p, double **rhs_p, char **sense_p,
                     int **matbeg_p, int **matcnt_p, int **matind_p, double **matval_p,
                     double **lb_p, double **ub_p, double **rngval_p, char ***colname_p,
                     char **colnamestore_p, char ***rowname_p, char **rownamestore_p);
VLTAPI int VLTparread(VLTENVptr env, const char *filename, int *numcols_p, int *numrows_p,
                      int *objsen_p, double **obj_p, double **rhs_p, char **sense_p,
                      int **matbeg_p, int **matcnt_p, int **matind_p, double **matval_p,
                      double **lb_p, double **ub_p, double **rngval_p, char ***colname_p,
                      char **colnamestore_p, char ***rowname_p, char **rownamestore_p);
/* The kin of the array readers take the model's out pointers as above and
 * then further results, all released with VLTfree:
 *
 * Integer results (required, sospri_p optional): *ctype_p gets one type per
 * column ('C', 'B', 'I', 'S' semi-continuous, 'N' semi-integer), or null for
 * a file without integer, semi-continuous or set data.  A semi-continuous
 * column keeps its limits in lb and ub: it is 0 or between them.  The sets
 * come in the form of VLTcopysos: *numsos_p sets of *numsosnz_p members,
 * types '1' or '2', *sosbeg_p with one start per set, members and weights in
 * file order; *sospri_p is null when the file gives no priorities.  Without
 * sets the counts are 0 and the arrays null.
 *
 * Quadratic results (required): Q column-wise with both triangles stored, so
 * that the objective is  c'x + 0.5 x'Qx.  *qmatbeg_p and *qmatcnt_p have
 * numcols entries, *qmatind_p (rows) and *qmatval_p have *numqnz_p; the rows
 * of a column are sorted, repeated entries are added up and zeros dropped.
 * The files' factors: an MPS QMATRIX entry i j v is q_ij = v (each
 * off-diagonal pair written twice); a QUADOBJ entry i j v gives q_ij = q_ji
 * = v; the LP form's  [ a x ^ 2 + b x * y ] / 2  gives q_xx = a and
 * q_xy = q_yx = b/2 (the objective holds a/2 x^2 + b/2 xy).  Without a
 * quadratic term the count is 0 and the arrays null.
 *
 * VLTlpmread drops quadratic terms with the warning line
 * "Problem %s contains quadratic objective coefficients, ignored.". */
VLTAPI int VLTmpsqread(VLTENVptr env, const char *filename, int *numcols_p, int *numrows_p,
                       int *objsen_p, double **obj_p, double **rhs_p, char **sense_p,
                       int **matbeg_p, int **matcnt_p, int **matind_p, double **matval_p,
                       double **lb_p, double **ub_p, double **rngval_p, char ***colname_p,
                       char **colnamestore_p, char ***rowname_p, char **rownamestore_p,
                       char **ctype_p, int *numsos_p, int *numsosnz_p, char **sostype_p,
                       int **sospri_p, int **sosbeg_p, int **sosind_p, double **soswt_p,
                       int *numqnz_p, int **qmatbeg_p, int **qmatcnt_p, int **qmatind_p,
                       double **qmatval_p);
VLTAPI int VLTlpqread(VLTENVptr env, const char *filename, int *numcols_p, int *numrows_p,
                      int *objsen_p, double **obj_p, double **rhs_p, char **sense_p,
                      int **matbeg_p, int **matcnt_p, int **matind_p, double **matval_p,
                      double **lb_p, double **ub_p, double **rngval_p, char ***colname_p,
                      char **colnamestore_p, char ***rowname_p, char **rownamestore_p,
                      char **ctype_p, int *numsos_p, int *numsosnz_p, char **sostype_p,
                      int **sospri_p, int **sosbeg_p, int **sosind_p, double **soswt_p,
                      int *numqnz_p, int **qmatbeg_p, int **qmatcnt_p, int **qmatind_p,
                      double **qmatval_p);
VLTAPI int VLTlpmread(VLTENVptr env, const char *filename, int *numcols_p, int *numrows_p,
                      int *objsen_p, double **obj_p, double **rhs_p, char **sense_p,
                      int **matbeg_p, int **matcnt_p, int **matind_p, double **matval_p,
                      double **lb_p, double **ub_p, double **rngval_p, char ***colname_p,
                      char **colnamestore_p, char ***rowname_p, char **rownamestore_p,
                      char **ctype_p, int *numsos_p, int *numsosnz_p, char **sostype_p,
                      int **sospri_p, int **sosbeg_p, int **sosind_p, double **soswt_p);
/* VLTmpsmread is VLTmpsqread that also returns every RHS, RANGES and BOUNDS
 * set of the file as a rim vector (the first set of each kind also makes
 * the model's arrays, as in the other readers), in space the caller gives:
 * rimspace vectors and rimnzspace entries (negative: 1003).  Vector k has
 * the kind rimtype[k] (VLT_RIM_*), its entries from rimbeg[k] on, in file
 * order.  RHS: rimind rows, rimval right-hand sides.  RANGES: rows and the
 * range in the form of rngval for the row's sense in the file (the row spans
 * rhs .. rhs + r, or rhs + r .. rhs for r < 0).  BOUNDS: columns and values
 * with rimlu 'L', 'U' or 'B' as VLTchgbds takes them (FR, BV, MI and PL
 * written out as their bounds; the end-of-set rules of the reader touch only
 * the model's bounds).  rimlu is ' ' for RHS and RANGES entries.  Rows are
 * counted without the free rows.  rimname_p and rimnamestore_p, both null or
 * both given, receive the set names (released with VLTfree).  Short space is
 * 1484 "Too many rim vectors" or 1485 "Too many rim nonzeros"; then only
 * *rimcnt_p and *rimnzcnt_p are set, to the space needed. */
#define VLT_RIM_RHS 0
#define VLT_RIM_RANGES 1
#define VLT_RIM_BOUNDS 2
VLTAPI int VLTmpsmread(VLTENVptr env, const char *filename, int *numcols_p, int *numrows_p,
                       int *objsen_p, double **obj_p, double **rhs_p, char **sense_p,
                       int **matbeg_p, int **matcnt_p, int **matind_p, double **matval_p,
                       double **lb_p, double **ub_p, double **rngval_p, char ***colname_p,
                       char **colnamestore_p, char ***rowname_p, char **rownamestore_p,
                       char **ctype_p, int *numsos_p, int *numsosnz_p, char **sostype_p,
                       int **sospri_p, int **sosbeg_p, int **sosind_p, double **soswt_p,
                       int *numqnz_p, int **qmatbeg_p, int **qmatcnt_p, int **qmatind_p,
                       double **qmatval_p, int rimspace, int rimnzspace, int *rimcnt_p,
                       int *rimnzcnt_p, int *rimtype, int *rimbeg, int *rimind,
                       double *rimval, char *rimlu, char ***rimname_p, char **rimnamestore_p);
/* The binary form's kin: VLTsavmread adds the integer results, VLTsavqread
 * also the quadratic results, the user cuts and lazy constraints (each a
 * group of seven pointers: row count, nonzero count, rhs, sense, one start
 * per row, columns, values; all null to skip a group) and the basis
 * (cstat_p and rstat_p, both null or both given; null arrays when the file
 * stores none).  Set priorities are stored in this form, 0 when unset. */
VLTAPI int VLTsavmread(VLTENVptr env, const char *filename, int *numcols_p, int *numrows_p,
                       int *objsen_p, double **obj_p, double **rhs_p, char **sense_p,
                       int **matbeg_p, int **matcnt_p, int **matind_p, double **matval_p,
                       double **lb_p, double **ub_p, double **rngval_p, char ***colname_p,
                       char **colnamestore_p, char ***rowname_p, char **rownamestore_p,
                       char **ctype_p, int *numsos_p, int *numsosnz_p, char **sostype_p,
                       int **sospri_p, int **sosbeg_p, int **sosind_p, double **soswt_p);
VLTAPI int VLTsavqread(VLTENVptr env, const char *filename, int *numcols_p, int *numrows_p,
                       int *objsen_p, double **obj_p, double **rhs_p, char **sense_p,
                       int **matbeg_p, int **matcnt_p, int **matind_p, double **matval_p,
                       double **lb_p, double **ub_p, double **rngval_p, char ***colname_p,
                       char **colnamestore_p, char ***rowname_p, char **rownamestore_p,
                       char **ctype_p, int *numsos_p, int *numsosnz_p, char **sostype_p,
                       int **sospri_p, int **sosbeg_p, int **sosind_p, double **soswt_p,
                       int *numqnz_p, int **qmatbeg_p, int **qmatcnt_p, int **qmatind_p,
                       double **qmatval_p, int *numcuts_p, int *cutnzcnt_p,
                       double **cutrhs_p, char **cutsense_p, int **cutbeg_p, int **cutind_p,
                       double **cutval_p, int *numlazy_p, int *lazynzcnt_p,
                       double **lazyrhs_p, char **lazysense_p, int **lazybeg_p,
                       int **lazyind_p, double **lazyval_p, int **cstat_p, int **rstat_p);
/* vector files: a primal and dual point by names */
VLTAPI int VLTvecwrite(VLTENVptr env, VLTLPptr lp, const char *filename);
VLTAPI int VLTreadcopyvec(VLTENVptr env, VLTLPptr lp, const char *filename);

/* ------------------------------------------------------------------------
 * Optimizers
 * ------------------------------------------------------------------------ */
/* @@OPTIMIZERS@@ */
VLTAPI int VLTlpopt(VLTENVptr env, VLTLPptr lp);
VLTAPI int VLTprimopt(VLTENVptr env, VLTLPptr lp);
VLTAPI int VLTdualopt(VLTENVptr env, VLTLPptr lp);
VLTAPI int VLTbaropt(VLTENVptr env, VLTLPptr lp);
VLTAPI int VLThybbaropt(VLTENVptr env, VLTLPptr lp, int method);
VLTAPI int VLTgetbhead(VLTENVptr env, VLTLPptr lp, int *head, double *x);
VLTAPI int VLTbinvcol(VLTENVptr env, VLTLPptr lp, int j, double *x);
VLTAPI int VLTbinvrow(VLTENVptr env, VLTLPptr lp, int i, double *y);
VLTAPI int VLTbinvacol(VLTENVptr env, VLTLPptr lp, int j, double *x);
VLTAPI int VLTgetgrad(VLTENVptr env, VLTLPptr lp, int j, int *head, double *y);
VLTAPI int VLTbinvarow(VLTENVptr env, VLTLPptr lp, int i, double *z);
VLTAPI int VLTftran(VLTENVptr env, VLTLPptr lp, double *x);
VLTAPI int VLTbtran(VLTENVptr env, VLTLPptr lp, double *y);
VLTAPI int VLTdualfarkas(VLTENVptr env, VLTLPptr lp, double *y, double *proof_p);
VLTAPI int VLTgetray(VLTENVptr env, VLTLPptr lp, double *z);
/* advanced basis operations */
VLTAPI int VLTgetijrow(VLTENVptr env, VLTLPptr lp, int i, int j, int *pos_p);
VLTAPI int VLTgetijdiv(VLTENVptr env, VLTLPptr lp, int *idiv_p, int *jdiv_p);
/* rmatbeg holds rcnt + 1 entries; row r is rmatbeg[r] .. rmatbeg[r+1]-1. */
VLTAPI int VLTgetweight(VLTENVptr env, VLTLPptr lp, int rcnt, const int *rmatbeg,
                        const int *rmatind, const double *rmatval, double *weight, int dpriind);
VLTAPI int VLTcheckpfeas(VLTENVptr env, VLTLPptr lp, int *infeas_p);
VLTAPI int VLTcheckdfeas(VLTENVptr env, VLTLPptr lp, int *infeas_p);
VLTAPI int VLTchecksoln(VLTENVptr env, VLTLPptr lp, int *feas_p);
VLTAPI int VLTsetphase2(VLTENVptr env, VLTLPptr lp);
VLTAPI int VLTmdleave(VLTENVptr env, VLTLPptr lp, const int *indices, int cnt,
                      double *downratio, double *upratio);
VLTAPI int VLTpratio(VLTENVptr env, VLTLPptr lp, const int *indices, int cnt,
                     double *downratio, int *downleave, int *downleavestat, int *downstat,
                     double *upratio, int *upleave, int *upleavestat, int *upstat);
VLTAPI int VLTdratio(VLTENVptr env, VLTLPptr lp, const int *indices, int cnt,
                     double *downratio, int *downleave, int *downleavestat, int *downstat,
                     double *upratio, int *upleave, int *upleavestat, int *upstat);
VLTAPI int VLTpivot(VLTENVptr env, VLTLPptr lp, int jenter, int jleave, int leavestat);
VLTAPI int VLTpivotin(VLTENVptr env, VLTLPptr lp, const int *rlist, int rlen);
VLTAPI int VLTpivotout(VLTENVptr env, VLTLPptr lp, const int *clist, int clen);
VLTAPI int VLTcopypartialbase(VLTENVptr env, VLTLPptr lp, int ccnt, const int *cindices,
                              const int *cstat, int rcnt, const int *rindices,
                              const int *rstat);
/* infeasibility finder: an irreducible infeasible subset (IIS) of an
 * infeasible linear program, by VLT_PARAM_IISIND (0 deletion filter,
 * 1 elastic filter first).  Statuses of rows and columns: 0 lower bound in
 * force, 1 fixed, 2 upper bound; iisstat 1 complete, 2 partial (time limit). */
VLTAPI int VLTfindiis(VLTENVptr env, VLTLPptr lp, int *iisnumrows_p, int *iisnumcols_p);
VLTAPI int VLTgetiis(VLTENVptr env, VLTLPptr lp, int *iisstat_p, int *rowind, int *rowbdstat,
                     int *iisnumrows_p, int *colind, int *colbdstat, int *iisnumcols_p);
VLTAPI int VLTdisplayiis(VLTENVptr env, VLTLPptr lp, VLTCHANNELptr channel, int display);
VLTAPI int VLTiiswrite(VLTENVptr env, VLTLPptr lp, const char *filename);
/* solution quality */
VLTAPI double VLTgetkappa(VLTENVptr env, VLTLPptr lp);
VLTAPI double VLTgetExactkappa(VLTENVptr env, VLTLPptr lp);
/* ---- sensitivity ranges and quality measures ---------------------------
 * Ranges of a solved linear program over the final basis, in the user's
 * units; 1e20 and -1e20 stand for no limit.  VLTErangesa gives for each row
 * the range of its low side (the right side of a 'G' or 'E' row, the low end
 * of a range) and of its high side. */
VLTAPI int VLTobjsa(VLTENVptr env, VLTLPptr lp, int begin, int end, double *lower,
                    double *upper);
VLTAPI int VLTrhssa(VLTENVptr env, VLTLPptr lp, int begin, int end, double *lower,
                    double *upper);
VLTAPI int VLTboundsa(VLTENVptr env, VLTLPptr lp, int begin, int end, double *lblower,
                      double *lbupper, double *ublower, double *ubupper);
VLTAPI int VLTErangesa(VLTENVptr env, VLTLPptr lp, int begin, int end, double *lolower,
                       double *loupper, double *uplower, double *upupper);
/* Quality measures by number (`what`): unscaled and scaled pairs. */
#define VLT_QUAL_MAX_PRIMAL_INFEAS        1
#define VLT_QUAL_MAX_SCALED_PRIMAL_INFEAS 2
#define VLT_QUAL_SUM_PRIMAL_INFEAS        3
#define VLT_QUAL_SUM_SCALED_PRIMAL_INFEAS 4
#define VLT_QUAL_MAX_DUAL_INFEAS          5
#define VLT_QUAL_MAX_SCALED_DUAL_INFEAS   6
#define VLT_QUAL_SUM_DUAL_INFEAS          7
#define VLT_QUAL_SUM_SCALED_DUAL_INFEAS   8
#define VLT_QUAL_MAX_INT_INFEAS           9
#define VLT_QUAL_SUM_INT_INFEAS           10
#define VLT_QUAL_MAX_PRIMAL_RESIDUAL      11
#define VLT_QUAL_MAX_SCALED_PRIMAL_RESIDUAL 12
#define VLT_QUAL_SUM_PRIMAL_RESIDUAL      13
#define VLT_QUAL_SUM_SCALED_PRIMAL_RESIDUAL 14
#define VLT_QUAL_MAX_DUAL_RESIDUAL        15
#define VLT_QUAL_MAX_SCALED_DUAL_RESIDUAL 16
#define VLT_QUAL_SUM_DUAL_RESIDUAL        17
#define VLT_QUAL_SUM_SCALED_DUAL_RESIDUAL 18
#define VLT_QUAL_MAX_COMP_SLACK           19
#define VLT_QUAL_SUM_COMP_SLACK           21
#define VLT_QUAL_MAX_X                    23
#define VLT_QUAL_MAX_SCALED_X             24
#define VLT_QUAL_MAX_PI                   25
#define VLT_QUAL_MAX_SCALED_PI            26
#define VLT_QUAL_MAX_SLACK                27
#define VLT_QUAL_MAX_SCALED_SLACK         28
#define VLT_QUAL_MAX_REDCOST              29
#define VLT_QUAL_MAX_SCALED_REDCOST       30
#define VLT_QUAL_SUM_X                    31
#define VLT_QUAL_SUM_SCALED_X             32
#define VLT_QUAL_SUM_PI                   33
#define VLT_QUAL_SUM_SCALED_PI            34
#define VLT_QUAL_SUM_SLACK                35
#define VLT_QUAL_SUM_SCALED_SLACK         36
#define VLT_QUAL_SUM_REDCOST              37
#define VLT_QUAL_SUM_SCALED_REDCOST       38
#define VLT_QUAL_KAPPA                    39
#define VLT_QUAL_OBJ_GAP                  40
#define VLT_QUAL_DUAL_OBJ                 41
#define VLT_QUAL_PRIMAL_OBJ               42
VLTAPI int VLTgetdblquality(VLTENVptr env, VLTLPptr lp, double *value, int what);
VLTAPI int VLTgetintquality(VLTENVptr env, VLTLPptr lp, int *index, int what);
VLTAPI double VLTcheckax(VLTENVptr env, VLTLPptr lp, int *index, int flag);
VLTAPI double VLTcheckpib(VLTENVptr env, VLTLPptr lp, int *index, int flag);
/* ---- end of sensitivity ranges and quality measures -------------------- */
/* presolve */
VLTAPI int VLTpresolve(VLTENVptr env, VLTLPptr lp, int method);
VLTAPI int VLTfreepresolve(VLTENVptr env, VLTLPptr lp);
VLTAPI int VLTgetredlp(VLTENVptr env, VLTLPptr lp, VLTLPptr *redlp_p);
VLTAPI int VLTgetprestat(VLTENVptr env, VLTLPptr lp, int *prestat_p, int *pcstat, int *prstat,
                         int *ocstat, int *orstat);
VLTAPI int VLTcrushx(VLTENVptr env, VLTLPptr lp, const double *x, double *redx);
VLTAPI int VLTuncrushx(VLTENVptr env, VLTLPptr lp, double *x, const double *redx);
VLTAPI int VLTcrushpi(VLTENVptr env, VLTLPptr lp, const double *pi, double *redpi);
VLTAPI int VLTuncrushpi(VLTENVptr env, VLTLPptr lp, double *pi, const double *redpi, int dual);
VLTAPI int VLTcrushform(VLTENVptr env, VLTLPptr lp, int len, const int *ind, const double *val,
                        int *plen_p, double *poffset_p, int *pind, double *pval);
VLTAPI int VLTuncrushform(VLTENVptr env, VLTLPptr lp, int plen, const int *pind,
                          const double *pval, int *len_p, double *offset_p, int *ind,
                          double *val);
VLTAPI int VLTslackfromx(VLTENVptr env, VLTLPptr lp, const double *x, double *slack);
VLTAPI int VLTdjfrompi(VLTENVptr env, VLTLPptr lp, const double *pi, double *dj);
VLTAPI int VLTEgetorigcolind(VLTENVptr env, VLTLPptr lp, int redcol);
VLTAPI int VLTEgetorigrowind(VLTENVptr env, VLTLPptr lp, int redrow);
VLTAPI int VLTbasicpresolve(VLTENVptr env, VLTLPptr lp, double *redlb, double *redub,
                            int *rstat);
VLTAPI int VLTcopyprotected(VLTENVptr env, VLTLPptr lp, int cnt, const int *indices);
VLTAPI int VLTgetprotected(VLTENVptr env, VLTLPptr lp, int *cnt_p, int *indices, int space,
                           int *surplus_p);
VLTAPI int VLTpreaddrows(VLTENVptr env, VLTLPptr lp, int rcnt, int nzcnt, const double *rhs,
                         const char *sense, const int *rmatbeg, const int *rmatind,
                         const double *rmatval, char **rowname);
VLTAPI int VLTprechgobj(VLTENVptr env, VLTLPptr lp, int cnt, const int *indices,
                        const double *values);
VLTAPI int VLTpreslvwrite(VLTENVptr env, VLTLPptr lp, const char *filename, double *objoff_p);

/* ------------------------------------------------------------------------
 * Mixed-integer data and results
 * ------------------------------------------------------------------------ */
VLTAPI int VLTchgprobtype(VLTENVptr env, VLTLPptr lp, int type);
VLTAPI int VLTcopysos(VLTENVptr env, VLTLPptr lp, int numsos, int numsosnz,
                      const char *sostype, const int *sospri, const int *sosbeg,
                      const int *sosind, const double *soswt);
VLTAPI int VLTaddsos(VLTENVptr env, VLTLPptr lp, int numsos, int numsosnz,
                     const char *sostype, const int *sospri, const int *sosbeg,
                     const int *sosind, const double *soswt);
VLTAPI int VLTdelsetsos(VLTENVptr env, VLTLPptr lp, int *delstat);
/* sosbeg receives end - begin + 1 starts; members go to sosind/soswt. */
VLTAPI int VLTgetsos(VLTENVptr env, VLTLPptr lp, int *numsosnz_p, char *sostype, int *sospri,
                     int *sosbeg, int *sosind, double *soswt, int sosspace, int *surplus_p,
                     int begin, int end);
VLTAPI int VLTgetnumsos(VLTENVptr env, VLTLPptr lp);
VLTAPI int VLTcopyorder(VLTENVptr env, VLTLPptr lp, int cnt, const int *indices,
                        const int *priority, const int *direction);
VLTAPI int VLTgetorder(VLTENVptr env, VLTLPptr lp, int *cnt_p, int *indices, int *priority,
                       int *direction, int ordspace, int *surplus_p);
VLTAPI int VLTcopymipstart(VLTENVptr env, VLTLPptr lp, int cnt, const int *indices,
                           const double *values);
VLTAPI int VLTgetmipstart(VLTENVptr env, VLTLPptr lp, int *cnt_p, int *indices,
                          double *values, int startspace, int *surplus_p);
/* files beside an integer model: priority orders (ORD), special ordered sets
 * (SOS) and start values (MST).  VLTordread fills arrays of numcols entries;
 * the arrays of VLTsosread are released with VLTfree. */
VLTAPI int VLTordread(VLTENVptr env, const char *filename, int numcols, char **colname,
                      int *cnt_p, int *indices, int *priority, int *direction);
VLTAPI int VLTordwrite(VLTENVptr env, VLTLPptr lp, const char *filename);
VLTAPI int VLTreadcopyorder(VLTENVptr env, VLTLPptr lp, const char *filename);
VLTAPI int VLTsosread(VLTENVptr env, const char *filename, int numcols, char **colname,
                      int *numsos_p, int *numsosnz_p, char **sostype_p, int **priority_p,
                      int **beg_p, int **ind_p, double **weight_p);
VLTAPI int VLTsoswrite(VLTENVptr env, VLTLPptr lp, const char *filename);
VLTAPI int VLTreadcopysos(VLTENVptr env, VLTLPptr lp, const char *filename);
VLTAPI int VLTmstwrite(VLTENVptr env, VLTLPptr lp, const char *filename);
VLTAPI int VLTreadcopymipstart(VLTENVptr env, VLTLPptr lp, const char *filename);
VLTAPI int VLTgetnumint(VLTENVptr env, VLTLPptr lp);
VLTAPI int VLTgetnumbin(VLTENVptr env, VLTLPptr lp);
VLTAPI int VLTgetnumsemicont(VLTENVptr env, VLTLPptr lp);
VLTAPI int VLTgetnumsemiint(VLTENVptr env, VLTLPptr lp);
VLTAPI int VLTmipopt(VLTENVptr env, VLTLPptr lp);
/* Strong branching on a solved LP: for each column of goodlist, the
   objective of the down child (upper bound at the floor of its value) and
   of the up child (lower bound at floor + 1) after at most itlim dual
   simplex iterations from the optimal basis.  An infeasible child gives
   1e75 (times the objective sense); a nonbasic column -1e20 (likewise) in
   both arrays.  The LP's basis, bounds and solution are left as found. */
VLTAPI int VLTstrongbranch(VLTENVptr env, VLTLPptr lp, const int *goodlist, int goodlen,
                           double *downpen, double *uppen, int itlim);
VLTAPI int VLTgetmipx(VLTENVptr env, VLTLPptr lp, double *x, int begin, int end);
VLTAPI int VLTgetmipslack(VLTENVptr env, VLTLPptr lp, double *slack, int begin, int end);
VLTAPI int VLTgetmipobjval(VLTENVptr env, VLTLPptr lp, double *objval_p);
VLTAPI int VLTgetbestobjval(VLTENVptr env, VLTLPptr lp, double *objval_p);
VLTAPI int VLTgetcutoff(VLTENVptr env, VLTLPptr lp, double *cutoff_p);
VLTAPI int VLTgetmipitcnt(VLTENVptr env, VLTLPptr lp);
VLTAPI int VLTgetnodecnt(VLTENVptr env, VLTLPptr lp);
VLTAPI int VLTgetnodeleftcnt(VLTENVptr env, VLTLPptr lp);
VLTAPI int VLTgetnodeint(VLTENVptr env, VLTLPptr lp);
VLTAPI int VLTgetgenclqcnt(VLTENVptr env, VLTLPptr lp);
VLTAPI int VLTgetclqcnt(VLTENVptr env, VLTLPptr lp);
VLTAPI int VLTgetcovcnt(VLTENVptr env, VLTLPptr lp);
VLTAPI int VLTgetsubstat(VLTENVptr env, VLTLPptr lp);
VLTAPI int VLTgetsubmethod(VLTENVptr env, VLTLPptr lp);

#ifdef __cplusplus
}
#endif

#endif /* VELTO_H */
