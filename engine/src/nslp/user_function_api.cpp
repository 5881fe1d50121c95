// User functions through the C API: strings, definitions, names, addresses, the caller's
// objects, and what a running function may ask about its call.
#include <cmath>
#include <cstring>
#include <strings.h>

#include "core/entry.h"
#include "core/text.h"
#include "nslp/formula_tokens.h"
#include "nslp/slp_problem.h"
#include "nslp/user_functions.h"

using namespace nvrl;

namespace {

UserFunction *definedFunction(nslp_problem_s *s, const char *fn, int index) {
  if (!s->data.userfuncs.valid(index)) {
    s->fail("%s: user function %d is not defined (1 to %d)", fn, index, s->data.userfuncs.size());
    return nullptr;
  }
  return &s->data.userfuncs.at(index);
}

// Reads one definition starting at type[*pos]; advances *pos past its end token.
bool readDefinition(nslp_problem_s *s, const char *fn, int k, const int *type,
                    const double *value, size_t &pos, UserFunction &f) {
  int strings = 0, index = 0;
  bool call = false;
  auto bad = [&](const std::string &why) {
    s->fail("%s: definition %d, token %zu: %s", fn, k, pos, why.c_str());
    return false;
  };
  for (;; ++pos) {
    int t = type[pos];
    double v = value[pos];
    if (t == NSLP_TOK_EOF) break;
    switch (t) {
      case NSLP_UFDEF_STRING:
        if (!formula::integerValue(v, index) || index < 1 || index > int(s->data.strings.size()))
          return bad(format("string %g is not defined (see NSLPsetstring)", v));
        if (strings == 0) {
          f.name = s->data.strings[index - 1];
          if (f.name.empty()) return bad("the function's name is empty");
        } else if (strings == 1) {
          if (strcasecmp(s->data.strings[index - 1].c_str(), "DirectC") != 0)
            return bad("unsupported linkage \"" + s->data.strings[index - 1] +
                       "\" (only DirectC, a C function address)");
        } else {
          return bad("more than two strings");
        }
        ++strings;
        break;
      case NSLP_UFDEF_ARGS:
        if (v != 1) return bad(format("unsupported argument style %g (only 1, one array)", v));
        break;
      case NSLP_UFDEF_CALL:
        if (v == NSLP_UFCALL_VALUES)
          f.derivatives = false;
        else if (v == NSLP_UFCALL_DERIVATIVES)
          f.derivatives = true;
        else
          return bad(format("unknown calling convention %g", v));
        call = true;
        break;
      default:
        return bad(format("unknown token type %d in a user function definition", t));
    }
  }
  ++pos;
  if (strings == 0) return s->fail("%s: definition %d has no name", fn, k), false;
  if (!call) return s->fail("%s: definition %d has no calling convention", fn, k), false;
  return true;
}

}  // namespace

extern "C" {

NVRL_API int NSLPsetstring(NSLPprob slp, int *index, const char *string) NVRL_TRY {
  nslp_problem_s *s = checkSlpProblem(slp, __func__);
  if (!s) return 1;
  if (!index || !string) return s->fail("%s: null index or string", __func__);
  auto &v = s->data.strings;
  for (size_t k = 0; k < v.size(); ++k)
    if (v[k] == string) return *index = int(k) + 1, 0;
  v.emplace_back(string);
  *index = int(v.size());
  return 0;
} NVRL_CATCH(slp)

NVRL_API int NSLPadduserfuncs(NSLPprob slp, int nfuncs, const int type[],
                              const double value[]) NVRL_TRY {
  nslp_problem_s *s = checkSlpProblem(slp, __func__);
  if (!s) return 1;
  if (nfuncs < 0) return s->fail("%s: negative function count %d", __func__, nfuncs);
  if (nfuncs && (!type || !value)) return s->fail("%s: null token array", __func__);
  std::vector<UserFunction> defs(nfuncs);
  size_t pos = 0;
  for (int k = 0; k < nfuncs; ++k)
    if (!readDefinition(s, __func__, k, type, value, pos, defs[k])) return 1;
  UserFunctionTable table = s->data.userfuncs;  // aside: all or nothing
  for (UserFunction &f : defs) table.add(std::move(f));
  s->data.userfuncs = std::move(table);
  return 0;
} NVRL_CATCH(slp)

NVRL_API int NSLPaddnames(NSLPprob slp, int type, const char names[], int first,
                          int last) NVRL_TRY {
  nslp_problem_s *s = checkSlpProblem(slp, __func__);
  if (!s) return 1;
  if (type != NSLP_NAMES_USERFUNCS)
    return s->fail("%s: name type %d is not supported (only %d, user functions)", __func__, type,
                   NSLP_NAMES_USERFUNCS);
  if (!names) return s->fail("%s: null names", __func__);
  UserFunctionTable &t = s->data.userfuncs;
  if (first < 1 || last < first || last > t.size())
    return s->fail("%s: user functions %d to %d are not all defined (1 to %d)", __func__, first,
                   last, t.size());
  std::vector<std::string> read;
  for (const char *p = names; int(read.size()) < last - first + 1; p += std::strlen(p) + 1) {
    if (!*p) return s->fail("%s: name %zu is empty", __func__, read.size());
    read.emplace_back(p);
  }
  for (int i = first; i <= last; ++i) t.at(i).name.swap(read[i - first]);
  return 0;
} NVRL_CATCH(slp)

NVRL_API int NSLPchguserfuncaddress(NSLPprob slp, int index, NSLPfuncaddress address) NVRL_TRY {
  nslp_problem_s *s = checkSlpProblem(slp, __func__);
  if (!s) return 1;
  UserFunction *f = definedFunction(s, __func__, index);
  if (!f) return 1;
  if (!address) return s->fail("%s: null function address", __func__);
  f->address = address;
  return 0;
} NVRL_CATCH(slp)

NVRL_API int NSLPsetuserfuncobject(NSLPprob slp, int index, void *object) NVRL_TRY {
  nslp_problem_s *s = checkSlpProblem(slp, __func__);
  if (!s) return 1;
  UserFunction *f = definedFunction(s, __func__, index);
  if (!f) return 1;
  f->object = object;
  return 0;
} NVRL_CATCH(slp)

NVRL_API int NSLPgetuserfuncobject(NSLPprob slp, int index, void **object) NVRL_TRY {
  nslp_problem_s *s = checkSlpProblem(slp, __func__);
  if (!s) return 1;
  if (!object) return s->fail("%s: null object pointer", __func__);
  UserFunction *f = definedFunction(s, __func__, index);
  if (!f) return 1;
  *object = f->object;
  return 0;
} NVRL_CATCH(slp)

NVRL_API int NSLPgetfuncobject(void *context, int item, void **object) NVRL_TRY {
  if (!context || !object) {
    failGlobal(1, "NSLPgetfuncobject: null context or object pointer");
    return 1;
  }
  if (item != NSLP_FUNCOBJ_INFO) {
    failGlobal(1, "NSLPgetfuncobject: unknown item %d", item);
    return 1;
  }
  *object = context;  // the call's description is the context itself
  return 0;
} NVRL_CATCH(nullptr)

NVRL_API int NSLPgetfuncinfo(const void *info, int *ninputs, int *derivatives, int *results,
                             NSLPprob *slp, int *index) NVRL_TRY {
  if (!info) {
    failGlobal(1, "NSLPgetfuncinfo: null call description");
    return 1;
  }
  const auto *c = static_cast<const UserFunctionCallInfo *>(info);
  if (ninputs) *ninputs = c->ninputs;
  if (derivatives) *derivatives = c->derivatives;
  if (results) *results = c->results;
  if (slp) *slp = c->slp;
  if (index) *index = c->index;
  return 0;
} NVRL_CATCH(nullptr)

}  // extern "C"
