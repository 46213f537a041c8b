#include "argScan.h"

#include <cstring>
#include <string>

#include "log.h"
#include "numArg.h"

void printUsage(const ArgsDecl& decl) {
  for (const char* line : decl.usage) log(LOG_TERM, "%s\n", line);
}

E_STATUS usageAct(const OptHit&, const ArgScan& scan) {
  printUsage(scan.declaration());
  return SUCCESS;
}

const OptDecl* ArgScan::find(const char* w) const {
  for (const OptDecl& o : decl.opts)
    if (!strcmp(o.name, w)) return &o;
  return nullptr;
}

// The declaration's refusal line with the word in place of its %s.
E_STATUS ArgScan::refuse(const char* w) const {
  std::string text = decl.rules.refusal;
  size_t at = text.find("%s");
  if (at != std::string::npos) text.replace(at, 2, w);
  LOGERR(LOG_TERM, "%s\n", text.c_str());
  return BAD_PARAMETER;
}

bool ArgScan::optionFollows(int pos) const { return pos >= argc || argv[pos][0] == '-' || argv[pos][0] == '\0'; }

// A list value: the words up to the next option (or an empty word, where those
// are passed over); number lists are checked word by word.
E_STATUS ArgScan::readList(OptHit& h, const S_VAL_DECL& v, int* next) {
  int j = *next;
  h.first = j;
  auto endsList = [&](int k) {
    return k >= argc || argv[k][0] == '-' || (decl.rules.emptyWordsSkipped && argv[k][0] == '\0');
  };
  for (; !endsList(j); ++j) {
    unsigned long ignored;
    if (v.kind == VAL_NUMS && numArg(decl.name, h.opt->name, argv[j], v.min, v.max, &ignored) != SUCCESS)
      return BAD_PARAMETER;
  }
  h.end = *next = j;
  return SUCCESS;
}

// The option's values from the words after it. keep is cleared when a missing
// value makes the option drop out.
E_STATUS ArgScan::readValues(OptHit& h, int* next, bool* keep) {
  for (int k = 0; k < h.opt->nVals; ++k) {
    const S_VAL_DECL& v = h.opt->vals[k];
    if (v.kind == VAL_NUMS || v.kind == VAL_WORDS) {
      if (readList(h, v, next) != SUCCESS) return BAD_PARAMETER;
      h.has[k] = h.end > h.first;
      if (h.has[k] || v.optional) continue;
    } else if (*next < argc && !(v.optional && optionFollows(*next))) {
      const char* w = argv[(*next)++];
      h.has[k] = true;
      h.word[k] = w;
      if (v.kind == VAL_NUM && numArg(decl.name, h.opt->name, w, v.min, v.max, &h.num[k]) != SUCCESS)
        return BAD_PARAMETER;
      continue;
    } else if (v.optional) {
      continue;
    }
    // A value that must be there is missing.
    if (decl.rules.missing == MISSING_REFUSED) return refuse(h.opt->name);
    if (decl.rules.missing == MISSING_DROPS_OPT) *keep = false;
    return SUCCESS;  // MISSING_IS_ZERO: the value stays 0, its word empty
  }
  return SUCCESS;
}

E_STATUS ArgScan::read() {
  const ScanRules& r = decl.rules;
  for (int i = r.firstArg; i < argc && !endedAt && nHits < MAX_ARGS;) {
    const char* w = argv[i];
    const OptDecl* o = find(w);
    if (!o) {
      if (r.unknownRefused && !(r.emptyWordsSkipped && w[0] == '\0')) return refuse(w);
      ++i;
      continue;
    }
    OptHit& h = hits[nHits];
    h = OptHit{};
    h.opt = o;
    h.pos = i;
    int next = i + 1;
    bool keep = true;
    if (readValues(h, &next, &keep) != SUCCESS) return BAD_PARAMETER;
    if (keep) {
      ++nHits;
      if (o->ends) endedAt = &h;
    }
    i = r.valueWord == VALUE_CONSUMED ? next : i + 1;
  }
  return SUCCESS;
}

E_STATUS ArgScan::run() {
  E_STATUS st = read();
  if (st != SUCCESS) {
    endedAt = nullptr;
    return st;
  }
  for (int k = 0; k < nHits; ++k) {
    if (!hits[k].opt->act) continue;
    st = hits[k].opt->act(hits[k], *this);
    if (st != SUCCESS) return st;
  }
  return SUCCESS;
}

const OptHit* ArgScan::last(const char* name) const {
  for (int k = nHits - 1; k >= 0; --k)
    if (!strcmp(hits[k].opt->name, name)) return &hits[k];
  return nullptr;
}

const OptHit* ArgScan::lastOf(std::initializer_list<const char*> names) const {
  for (int k = nHits - 1; k >= 0; --k)
    for (const char* n : names)
      if (!strcmp(hits[k].opt->name, n)) return &hits[k];
  return nullptr;
}

// A value left out where it may be (optional) takes the default; one missing
// where the rules count it as 0 is 0, or the empty word.
bool ArgScan::missingIsZero(const OptHit* h, int i) const { return h && !h->has[i] && !h->opt->vals[i].optional; }

unsigned long ArgScan::num(const char* name, unsigned long dflt, int i) const {
  const OptHit* h = last(name);
  return h && h->has[i] ? h->num[i] : missingIsZero(h, i) ? 0 : dflt;
}

const char* ArgScan::word(const char* name, const char* dflt, int i) const {
  const OptHit* h = last(name);
  return h && h->has[i] ? h->word[i] : missingIsZero(h, i) ? "" : dflt;
}
