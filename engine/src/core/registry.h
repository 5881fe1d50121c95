// The one table of controls and attributes: id, name, type, kind, owner, default, bounds and a
// line of documentation. Typed get/set, the published lists and docs/controls.md derive from it.
#pragma once

#include <cstdint>
#include <span>
#include <string>

#include "nvrl.h"

// The registry is reachable from the engine's own tests (which check docs/controls.md).
#define NVRL_INTERNAL_API __attribute__((visibility("default")))

namespace nvrl {

enum class ParamType : int {
  Int = NVRL_TYPE_INT,
  Int64 = NVRL_TYPE_INT64,
  Double = NVRL_TYPE_DOUBLE,
  String = NVRL_TYPE_STRING,
};

enum class ParamKind { Control, Attribute };

// Which list a parameter belongs to and which handle reads it: the optimiser (NVRLprob),
// the nonlinear solver (NSLPprob) or the nonlinear solver's interior-point local solver
// (NSLPprob, published through NSLPgetIPMcalist).
enum class ParamOwner { Optimiser, Nonlinear, NonlinearIpm };

struct ParamInfo {
  int id;
  const char *name;  // lower case, unique over all lists
  ParamType type;
  ParamKind kind;
  ParamOwner owner;
  int64_t idef, ilo, ihi;  // Int and Int64 controls
  double ddef, dlo, dhi;   // Double controls
  const char *sdef;        // String controls
  const char *doc;

  bool isControl() const { return kind == ParamKind::Control; }
  bool isIntegral() const { return type == ParamType::Int || type == ParamType::Int64; }
  bool isNonlinear() const { return owner != ParamOwner::Optimiser; }
};

// The whole table, optimiser entries first, each list in id order.
NVRL_INTERNAL_API std::span<const ParamInfo> paramTable();
NVRL_INTERNAL_API const ParamInfo *findParam(int id);
// Case-insensitive lookup by name.
NVRL_INTERNAL_API const ParamInfo *findParamByName(const char *name);
// The published list of one owner, ending with an entry of type -1.
NVRL_INTERNAL_API const NVRLcaentry *caList(ParamOwner owner);

NVRL_INTERNAL_API const char *typeName(ParamType t);

// Checks a value against a control's bounds; returns an empty string when it is acceptable,
// otherwise the reason.
NVRL_INTERNAL_API std::string checkIntValue(const ParamInfo &p, int64_t v);
NVRL_INTERNAL_API std::string checkDblValue(const ParamInfo &p, double v);
NVRL_INTERNAL_API std::string checkStrValue(const ParamInfo &p, const char *v);

// The Markdown table of every control and attribute, as kept in docs/controls.md.
NVRL_INTERNAL_API std::string controlsMarkdown();

// The name nvrl.h publishes for an entry's id: NVRL_ or NSLP_ (by owner), ATTR_ or CTRL_, then
// the entry's name in upper case without its "nslp_" prefix (nslp_iteration_limit becomes
// NSLP_CTRL_ITERATION_LIMIT).
NVRL_INTERNAL_API std::string publishedIdName(const ParamInfo &p);
// The #define lines of every id, as kept in nvrl.h between kIdsBegin and kIdsEnd.
NVRL_INTERNAL_API std::string idDefines();
inline constexpr const char *kIdsBegin = "/* BEGIN ids generated from the registry */\n";
inline constexpr const char *kIdsEnd = "/* END ids generated from the registry */\n";

}  // namespace nvrl
