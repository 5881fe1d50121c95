// Renders the registry as the Markdown reference kept in docs/controls.md and as the id
// constants kept in nvrl.h.
#include <algorithm>
#include <cctype>
#include <vector>

#include "core/registry.h"
#include "core/text.h"

namespace nvrl {
namespace {

std::string number(double v) {
  if (v >= 1e300) return "+inf";
  if (v <= -1e300) return "-inf";
  return format("%g", v);
}

std::string defaultText(const ParamInfo &p) {
  if (!p.isControl()) return "";
  if (p.isIntegral()) return format("%lld", static_cast<long long>(p.idef));
  if (p.type == ParamType::Double) return number(p.ddef);
  return format("\"%s\"", p.sdef);
}

std::string rangeText(const ParamInfo &p) {
  if (!p.isControl()) return "";
  if (p.isIntegral())
    return format("%lld .. %lld", static_cast<long long>(p.ilo), static_cast<long long>(p.ihi));
  if (p.type == ParamType::Double) return number(p.dlo) + " .. " + number(p.dhi);
  return format("up to %d characters", NVRL_MAXNAMELEN - 1);
}

// The controls (or attributes) of one owner, in the order of their ids.
std::vector<const ParamInfo *> entriesById(ParamOwner owner, bool controls) {
  std::vector<const ParamInfo *> rows;
  for (const ParamInfo &p : paramTable())
    if (p.owner == owner && p.isControl() == controls) rows.push_back(&p);
  std::sort(rows.begin(), rows.end(),
            [](const ParamInfo *a, const ParamInfo *b) { return a->id < b->id; });
  return rows;
}

void section(std::string &out, const char *title, ParamOwner owner, bool controls) {
  const std::vector<const ParamInfo *> rows = entriesById(owner, controls);
  if (rows.empty()) return;
  out += format("\n### %s\n\n", title);
  if (controls) {
    out += "| id | name | type | default | range | meaning |\n";
    out += "|---:|---|---|---|---|---|\n";
    for (const ParamInfo *p : rows)
      out += format("| %d | `%s` | %s | %s | %s | %s |\n", p->id, p->name, typeName(p->type),
                    defaultText(*p).c_str(), rangeText(*p).c_str(), p->doc);
  } else {
    out += "| id | name | type | meaning |\n";
    out += "|---:|---|---|---|\n";
    for (const ParamInfo *p : rows)
      out += format("| %d | `%s` | %s | %s |\n", p->id, p->name, typeName(p->type), p->doc);
  }
}

void idSection(std::string &out, const char *title, ParamOwner owner, bool controls) {
  const std::vector<const ParamInfo *> rows = entriesById(owner, controls);
  if (rows.empty()) return;
  out += format("/* %s */\n", title);
  for (const ParamInfo *p : rows)
    out += format("#define %s %d /* %s */\n", publishedIdName(*p).c_str(), p->id,
                  typeName(p->type));
}

}  // namespace

std::string publishedIdName(const ParamInfo &p) {
  std::string name = p.name;
  if (p.isNonlinear() && name.rfind("nslp_", 0) == 0) name.erase(0, 5);
  for (char &c : name) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  return std::string(p.isNonlinear() ? "NSLP_" : "NVRL_") + (p.isControl() ? "CTRL_" : "ATTR_") +
         name;
}

std::string idDefines() {
  std::string out;
  idSection(out, "Optimiser controls (NVRLget/set...control)", ParamOwner::Optimiser, true);
  idSection(out, "Optimiser attributes (NVRLget...attrib)", ParamOwner::Optimiser, false);
  idSection(out, "Nonlinear solver controls (NSLPget/set...control)", ParamOwner::Nonlinear,
            true);
  idSection(out, "Nonlinear solver attributes (NSLPget...attrib)", ParamOwner::Nonlinear, false);
  idSection(out, "Nonlinear solver, interior-point list (NSLPget/set...control)",
            ParamOwner::NonlinearIpm, true);
  idSection(out, "Nonlinear solver, interior-point list attributes", ParamOwner::NonlinearIpm,
            false);
  return out;
}

std::string controlsMarkdown() {
  std::string out =
      "# Controls and attributes of libnvrl\n"
      "\n"
      "Controls are settings read and written with the typed functions `NVRLget/set...control`\n"
      "(optimiser) and `NSLPget/set...control` (nonlinear solver); attributes are read-only\n"
      "results read with `NVRLget...attrib` and `NSLPget...attrib`. Names are accepted in any\n"
      "case by `NVRLgetcontrolinfo` and `NSLPcontrolcode`. Integer entries of type int64 are also\n"
      "readable through the 32-bit functions while their value fits in 32 bits.\n"
      "\n"
      "`nvrl.h` publishes every id as a constant: `NVRL_CTRL_` or `NVRL_ATTR_` (optimiser),\n"
      "`NSLP_CTRL_` or `NSLP_ATTR_` (nonlinear solver), then the name in upper case without its\n"
      "`nslp_` prefix; for example `NVRL_CTRL_TIME_LIMIT` and `NSLP_CTRL_ITERATION_LIMIT`.\n"
      "\n"
      "This file and the constants of `nvrl.h` are generated from the engine's registry\n"
      "(`engine/src/core/registry.cpp`), and tests fail when they differ from it. To regenerate\n"
      "both, run the engine tests with\n"
      "`NVRL_UPDATE_DOCS=1 nvrl_tests --gtest_filter='ControlsDoc.*:HeaderIds.*'`.\n";
  out += "\n## Optimiser (NVRLprob, `NVRLgetcalist_c`)\n";
  section(out, "Controls", ParamOwner::Optimiser, true);
  section(out, "Attributes", ParamOwner::Optimiser, false);
  out += "\n## Nonlinear solver (NSLPprob, `NSLPgetcalist`)\n";
  section(out, "Controls", ParamOwner::Nonlinear, true);
  section(out, "Attributes", ParamOwner::Nonlinear, false);
  out += "\n## Nonlinear solver, interior-point list (NSLPprob, `NSLPgetIPMcalist`)\n";
  section(out, "Controls", ParamOwner::NonlinearIpm, true);
  section(out, "Attributes", ParamOwner::NonlinearIpm, false);
  return out;
}

}  // namespace nvrl
