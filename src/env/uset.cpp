// Exported parameter calls: set, get, info, names, defaults.
#include <cmath>
#include <cstring>

#include "env/par.h"

namespace velto {

namespace {

constexpr int kStrTooLong = 1026;

// The descriptor of `number` if it has `kind`; otherwise 1013.
int lookup(const env *e, int number, int kind, paramdesc **d) {
  if (number < 1001 || number >= 6000) return kBadParamNum;
  paramdesc *p = paramfind(e, number);
  if (p == nullptr || p->kind != kind) return kBadParamNum;
  *d = p;
  return 0;
}

// The dual pricing parameter accepts one value beyond its table maximum.
int setmax(const paramdesc *d) { return d->number == VLT_PARAM_DPRIIND ? 5 : d->intmax; }

int finish(const env *e, int status) {
  if (status != 0) report(const_cast<env *>(e), &status);
  return status;
}

}  // namespace

}  // namespace velto

using namespace velto;

extern "C" {

int VLTsetintparam(VLTENVptr env, int whichparam, int newvalue) {
  int status = 0;
  paramdesc *d = nullptr;
  if (!checkenv(env)) return kNoEnvironment;
  status = lookup(env, whichparam, kParInt, &d);
  if (status == 0) {
    if (newvalue < d->intmin)
      status = kParamTooSmall;
    else if (newvalue > setmax(d))
      status = kParamTooBig;
  }
  if (status == 0) {
    *static_cast<int *>(d->value) = newvalue;
    if (whichparam == VLT_PARAM_SCRIND) screenswitch(env, newvalue);
    if (env->params->p1075 != 0) msg(env->reschannel, "Parameter %d set to %d.\n", whichparam, newvalue);
  }
  return finish(env, status);
}

int VLTsetdblparam(VLTENVptr env, int whichparam, double newvalue) {
  int status = 0;
  paramdesc *d = nullptr;
  if (!checkenv(env)) return kNoEnvironment;
  status = lookup(env, whichparam, kParDbl, &d);
  if (status == 0) {
    // Equal bounds mean no bound at all; a NaN is never a value.
    if (std::isnan(newvalue))
      status = kBadArgument;
    else if (d->dblmin != d->dblmax && newvalue < d->dblmin)
      status = kParamTooSmall;
    else if (d->dblmin != d->dblmax && newvalue > d->dblmax)
      status = kParamTooBig;
  }
  if (status == 0) {
    *static_cast<double *>(d->value) = newvalue;
    if (env->params->p1075 != 0) msg(env->reschannel, "Parameter %d set to %g.\n", whichparam, newvalue);
  }
  return finish(env, status);
}

int VLTsetstrparam(VLTENVptr env, int whichparam, const char *newvalue_str) {
  int status = 0;
  paramdesc *d = nullptr;
  if (!checkenv(env)) return kNoEnvironment;
  status = lookup(env, whichparam, kParStr, &d);
  if (status == 0 && newvalue_str == nullptr) status = kNullPointer;
  if (status == 0 && std::strlen(newvalue_str) >= static_cast<size_t>(kStrParamSize)) status = kStrTooLong;
  if (status == 0) {
    std::strcpy(static_cast<char *>(d->value), newvalue_str);
    if (env->params->p1075 != 0)
      msg(env->reschannel, "Parameter %d set to \"%s\".\n", whichparam, newvalue_str);
  }
  return finish(env, status);
}

int VLTgetintparam(VLTCENVptr env, int whichparam, int *value_p) {
  paramdesc *d = nullptr;
  if (!checkenv(env)) return kNoEnvironment;
  int status = value_p == nullptr ? kNullPointer : lookup(env, whichparam, kParInt, &d);
  if (status == 0) *value_p = *static_cast<const int *>(d->value);
  return finish(env, status);
}

int VLTgetdblparam(VLTCENVptr env, int whichparam, double *value_p) {
  paramdesc *d = nullptr;
  if (!checkenv(env)) return kNoEnvironment;
  int status = value_p == nullptr ? kNullPointer : lookup(env, whichparam, kParDbl, &d);
  if (status == 0) *value_p = *static_cast<const double *>(d->value);
  return finish(env, status);
}

int VLTgetstrparam(VLTCENVptr env, int whichparam, char *value_str) {
  paramdesc *d = nullptr;
  if (!checkenv(env)) return kNoEnvironment;
  int status = value_str == nullptr ? kNullPointer : lookup(env, whichparam, kParStr, &d);
  if (status == 0) std::strcpy(value_str, static_cast<const char *>(d->value));
  return finish(env, status);
}

int VLTinfointparam(VLTCENVptr env, int whichparam, int *defvalue_p, int *minvalue_p, int *maxvalue_p) {
  paramdesc *d = nullptr;
  if (!checkenv(env)) return kNoEnvironment;
  int status = lookup(env, whichparam, kParInt, &d);
  if (status == 0) {
    if (defvalue_p != nullptr) *defvalue_p = d->intdefault;
    if (minvalue_p != nullptr) *minvalue_p = d->intmin;
    if (maxvalue_p != nullptr) *maxvalue_p = d->intmax;
  }
  return finish(env, status);
}

int VLTinfodblparam(VLTCENVptr env, int whichparam, double *defvalue_p, double *minvalue_p,
                    double *maxvalue_p) {
  paramdesc *d = nullptr;
  if (!checkenv(env)) return kNoEnvironment;
  int status = lookup(env, whichparam, kParDbl, &d);
  if (status == 0) {
    if (defvalue_p != nullptr) *defvalue_p = d->dbldefault;
    if (minvalue_p != nullptr) *minvalue_p = d->dblmin;
    if (maxvalue_p != nullptr) *maxvalue_p = d->dblmax;
  }
  return finish(env, status);
}

int VLTinfostrparam(VLTCENVptr env, int whichparam, char *defvalue_str) {
  paramdesc *d = nullptr;
  if (!checkenv(env)) return kNoEnvironment;
  int status = lookup(env, whichparam, kParStr, &d);
  if (status == 0 && defvalue_str != nullptr) std::strcpy(defvalue_str, d->strdefault);
  return finish(env, status);
}

int VLTgetparamname(VLTCENVptr env, int whichparam, char *name_str) {
  if (!checkenv(env)) return kNoEnvironment;
  if (name_str == nullptr) return finish(env, kNullPointer);
  name_str[0] = '\0';
  const paramdir *dir = env->paramdir;
  bool ingroup = false;
  for (int i = 0; i < dir->groupcount; ++i)
    if (whichparam >= dir->group[i].first && whichparam <= dir->group[i].last) ingroup = true;
  if (!ingroup) return finish(env, kParamName);
  // An unused or unnamed number has the empty name.
  const paramdesc *d = paramfind(env, whichparam);
  if (d != nullptr && !d->hidden) std::strcpy(name_str, d->name);
  return 0;
}

int VLTgetparamnum(VLTCENVptr env, const char *name_str, int *whichparam_p) {
  if (!checkenv(env)) return kNoEnvironment;
  if (whichparam_p == nullptr) return finish(env, kNullPointer);
  *whichparam_p = -1;
  if (name_str == nullptr) return finish(env, kNullPointer);
  const paramdesc *d = paramfindname(env, name_str);
  if (d == nullptr) return finish(env, kParamName);
  *whichparam_p = d->number;
  return 0;
}

int VLTsetdefaults(VLTENVptr env) {
  if (!checkenv(env)) return kNoEnvironment;
  paramdefaults(env);
  return 0;
}

}  // extern "C"
