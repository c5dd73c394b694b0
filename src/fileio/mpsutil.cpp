// Bound rules of the MPS reader and number formatting of the MPS writer.
#include "fileio/mpsutil.h"

#include <cmath>
#include <cstdlib>
#include <cstring>

namespace velto {

namespace {
struct boundname {
  const char *name;
  mpsboundkind kind;
};
const boundname kBoundNames[] = {
    {"UP", mpsboundkind::kUP}, {"UI", mpsboundkind::kUI}, {"LO", mpsboundkind::kLO},
    {"LI", mpsboundkind::kLI}, {"FX", mpsboundkind::kFX}, {"FR", mpsboundkind::kFR},
    {"MI", mpsboundkind::kMI}, {"PL", mpsboundkind::kPL}, {"BV", mpsboundkind::kBV},
    {"SC", mpsboundkind::kSC}};

bool fractional(double v) {
  double f = v - std::floor(v);
  return f > 1e-10 && f < 0.9999999999;
}
}  // namespace

mpsboundkind mpsboundtype(const char *type) {
  for (const boundname &b : kBoundNames)
    if (std::strcmp(b.name, type) == 0) return b.kind;
  return mpsboundkind::kUnknown;
}

bool mpsboundvalued(mpsboundkind k) {
  return k != mpsboundkind::kFR && k != mpsboundkind::kMI && k != mpsboundkind::kPL &&
         k != mpsboundkind::kBV;
}

int mpsapplybound(env *e, int lineno, mpsboundkind k, int j, double v, filemodel &m,
                  std::vector<char> &flags) {
  char &f = flags[j];
  char &t = m.ctype[j];
  switch (k) {
    case mpsboundkind::kUP:
      if (f & 2) return fileerror(e, 1458, lineno);
      m.ub[j] = v;
      f |= 2;
      break;
    case mpsboundkind::kUI:
      m.ub[j] = v;
      t = 'I';
      f |= 2;
      break;
    case mpsboundkind::kLO:
      if (f & 1) return fileerror(e, 1459, lineno);
      m.lb[j] = v;
      f |= 1;
      break;
    case mpsboundkind::kLI:
      m.lb[j] = v;
      t = t == 'S' ? 'N' : 'I';
      f |= 1;
      break;
    case mpsboundkind::kFX:
      if (f) return fileerror(e, 1454, lineno);
      m.lb[j] = m.ub[j] = v;
      f = 3;
      break;
    case mpsboundkind::kFR:
      if (f) return fileerror(e, 1455, lineno);
      m.lb[j] = -1e20;
      m.ub[j] = 1e20;
      f = 3;
      break;
    case mpsboundkind::kMI:
      m.lb[j] = -1e20;
      f |= 1;
      break;
    case mpsboundkind::kPL:
      m.ub[j] = 1e20;
      f |= 2;
      break;
    case mpsboundkind::kBV:
      if (f) return fileerror(e, 1456, lineno);
      m.lb[j] = 0.0;
      m.ub[j] = 1.0;
      t = 'B';
      f = 3;
      break;
    case mpsboundkind::kSC:
      m.ub[j] = v;
      t = (t == 'I' || t == 'B') ? 'N' : 'S';
      f |= 2;
      break;
    case mpsboundkind::kUnknown:
      break;
  }
  return 0;
}

void mpsendbounds(env *e, filemodel &m, const std::vector<char> &flags, const char *set,
                  mpsboundwarn &w) {
  int n = static_cast<int>(m.lb.size());
  for (int j = 0; j < n; ++j) {
    char f = flags[j];
    double &lb = m.lb[j];
    double &ub = m.ub[j];
    const char *name = m.colnames.get(j);
    if (lb >= -1e17 || (f & 2)) {
      if (ub <= 0.0 && !(f & 1)) {
        if (ub == 0.0) {
          if (w.fixed++ < 5)
            msg(e->warnchannel, "Warning:  Column '%s' in bound '%s' is Fixed.\n", name, set);
        } else {
          lb = -1e20;
          if (w.minusinf++ < 5)
            msg(e->warnchannel,
                "Warning:  Lower bound on column '%s' in bound '%s'\n"
                "          changed to minus infinity.\n",
                name, set);
        }
      }
    } else if (w.freecol++ < 5) {
      msg(e->warnchannel, "Warning:  Column '%s' in bound '%s' is Free.\n", name, set);
    }
    char &t = m.ctype[j];
    if (t == 'S' && !(f & 1) && std::fabs(ub) > 1e-10) {
      lb = 1.0;
      if (w.semi++ < 5)
        msg(e->warnchannel,
            "Warning:  Lower bound of 1.0 assumed for semi-continuous column \n"
            "          '%s' in bound '%s'\n",
            name, set);
    }
    if (t == 'C' || t == 'S') continue;
    if (f & 2) {
      if (fractional(ub))
        msg(e->warnchannel, "Warning:  Non-integral bound value %g for integer column '%.255s'.\n",
            ub, name);
      if (t != 'N') t = (std::fabs(ub - 1.0) <= 1e-10 && lb == 0.0) ? 'B' : 'I';
    }
    if (f & 1) {
      if (fractional(lb))
        msg(e->warnchannel, "Warning:  Non-integral bound value %g for integer column '%.255s'.\n",
            lb, name);
      if (t != 'N') {
        if (lb != 0.0) t = 'I';
        if (std::fabs(ub - 1.0) > 1e-10) t = 'I';
      }
    }
    if (t == 'B') ub = 1.0;
  }
}

void mpsboundwarn::finish(env *e) const {
  if (freecol > 5) msg(e->warnchannel, "%d Column-free warnings not printed.\n", freecol - 5);
  if (minusinf > 5) msg(e->warnchannel, "%d Minus-infinity warnings not printed.\n", minusinf - 5);
  if (fixed > 5) msg(e->warnchannel, "%d Column-fixed warnings not printed.\n", fixed - 5);
  if (semi > 5)
    msg(e->warnchannel, "%d semi-continuous bound warnings not printed.\n", semi - 5);
}

void mpsnumber(double v, char *out) {
  if (v == 0.0) {
    std::strcpy(out, "0");
    return;
  }
  bool neg = v < 0.0;
  char buf[40];
  std::snprintf(buf, sizeof buf, neg ? "%.9E" : "%.10E", std::fabs(v));
  char *epos = std::strchr(buf, 'E');
  int e10 = std::atoi(epos + 1);
  *epos = '\0';
  // Mantissa without trailing zeros (and point).
  size_t ml = std::strlen(buf);
  while (ml > 1 && buf[ml - 1] == '0') buf[--ml] = '\0';
  if (buf[ml - 1] == '.') buf[--ml] = '\0';
  // Digits of the mantissa without the point.
  char dig[16];
  int nd = 0;
  for (char *p = buf; *p; ++p)
    if (*p != '.') dig[nd++] = *p;
  char *o = out;
  if (neg) *o++ = '-';
  int limit = neg ? 9 : 10;
  if (e10 >= -3 && e10 <= limit) {
    if (e10 >= 0) {
      for (int k = 0; k <= e10; ++k) *o++ = k < nd ? dig[k] : '0';
      if (nd > e10 + 1) {
        *o++ = '.';
        for (int k = e10 + 1; k < nd; ++k) *o++ = dig[k];
      }
      *o = '\0';
    } else {
      int room = 12 - (neg ? 1 : 0);
      int len = 0;
      *o++ = '0';
      *o++ = '.';
      len = 2;
      for (int k = 0; k < -1 - e10; ++k, ++len) *o++ = '0';
      for (int k = 0; k < nd && len < room; ++k, ++len) *o++ = dig[k];
      *o = '\0';
    }
    return;
  }
  int ae = e10 < 0 ? -e10 : e10;
  size_t keep = ae < 10 ? 9 : 8;
  if (neg) --keep;
  if (ml > keep) ml = keep;
  while (ml > 1 && buf[ml - 1] == '0') --ml;
  if (buf[ml - 1] == '.') --ml;
  std::snprintf(o, 16, "%.*s%c%c%d", static_cast<int>(ml), buf, 'E', e10 < 0 ? '-' : '+', ae);
}

}  // namespace velto
