#include "args.h"

#include <cstring>
#include <string>

#include "log.h"
#include "numArg.h"

std::string usageText(const ArgsDecl& decl) {
  std::string text;
  for (const char* line : decl.head) text += std::string(line) + "\n";
  for (const OptDecl* o : decl.opts)
    if (o->usage) text += std::string(o->usage) + "\n";
  return text;
}

void printUsage(const ArgsDecl& decl, const char* help) {
  const std::string text = usageText(decl);
  if (text.empty()) log(LOG_TERM, "%s - %s\n", decl.name, help ? help : "");
  for (size_t start = 0, nl; (nl = text.find('\n', start)) != std::string::npos; start = nl + 1)
    log(LOG_TERM, "%.*s\n", static_cast<int>(nl - start), text.c_str() + start);
}

const OptDecl* Args::find(const char* w) const {
  for (const OptDecl* o : decl.opts)
    if (o->kind == OPT_OPTION && !strcmp(o->name, w)) return o;
  return nullptr;
}

// The declaration that takes the words that are not options: the rest of the line.
const OptDecl* Args::restDecl() const {
  for (const OptDecl* o : decl.opts)
    if (o->kind != OPT_OPTION) return o;
  return nullptr;
}

E_STATUS Args::refuse(const char* fmt, const char* w) const {
  std::string text = fmt;
  text.replace(text.find("%s"), 2, w);
  LOGERR(LOG_TERM, "%s: %s, see %s -h\n", decl.name, text.c_str(), decl.name);
  return BAD_PARAMETER;
}

bool Args::optionFollows(int pos) const { return pos >= argc || argv[pos][0] == '-' || argv[pos][0] == '\0'; }

// A list value: the words up to the next option or an empty word; number
// lists are checked word by word.
E_STATUS Args::readList(OptHit& h, const S_VAL_DECL& v, int* next) {
  int j = *next;
  h.first = j;
  for (; !optionFollows(j); ++j) {
    unsigned long ignored;
    if (v.kind == VAL_NUMS && numArg(decl.name, h.opt->name, argv[j], v.min, v.max, &ignored) != SUCCESS)
      return BAD_PARAMETER;
  }
  h.end = *next = j;
  return SUCCESS;
}

// The option's values from the words after it. keep is cleared when a missing
// value makes the option drop out.
E_STATUS Args::readValues(OptHit& h, int* next, bool* keep) {
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
    if (decl.rules.missing == MISSING_REFUSED) return refuse("%s needs a value", h.opt->name);
    if (decl.rules.missing == MISSING_DROPS_OPT) *keep = false;
    return SUCCESS;  // MISSING_IS_ZERO: the value stays 0, its word empty
  }
  return SUCCESS;
}

// An option and its values at word *i; *i moves past what it consumed (or
// only past the option, where values are looked at as options too), and
// *valuesEnd is where its values end.
E_STATUS Args::readOption(const OptDecl* o, int* i, int* valuesEnd) {
  OptHit& h = found[nHits];
  h = OptHit{.opt = o, .pos = *i};
  int next = *i + 1;
  bool keep = true;
  if (readValues(h, &next, &keep) != SUCCESS) return BAD_PARAMETER;
  if (keep) ++nHits;
  *valuesEnd = next;
  *i = decl.rules.valueWord == VALUE_CONSUMED ? next : *i + 1;
  return SUCCESS;
}

E_STATUS Args::read() {
  int valuesUntil = 0;  // where values are looked at as options too: the words up to here were values
  for (int i = decl.rules.firstArg; i < argc && nHits < MAX_ARGS;) {
    const char* w = argv[i];
    if (!strcmp(w, "-h")) {
      askedForUsage = true;
      return SUCCESS;
    }
    if (const OptDecl* o = find(w)) {
      int valuesEnd = 0;
      if (readOption(o, &i, &valuesEnd) != SUCCESS) return BAD_PARAMETER;
      if (valuesEnd > valuesUntil) valuesUntil = valuesEnd;
      continue;
    }
    if (w[0] == '\0' || i < valuesUntil) {  // an empty word (two blanks), or a value already taken
      ++i;
      continue;
    }
    const OptDecl* p = w[0] == '-' ? nullptr : restDecl();
    if (!p) return refuse(w[0] == '-' ? "unknown option %s" : "unexpected word %s", w);
    found[nHits++] = OptHit{.opt = p, .pos = i, .has = {true}, .word = {w}, .first = i, .end = argc};
    // -h among the rest still asks for the usage, unless the rest is another declaration's to read.
    for (int k = i; p->kind == OPT_REST && k < argc; ++k) askedForUsage |= !strcmp(argv[k], "-h");
    return SUCCESS;
  }
  return SUCCESS;
}

E_STATUS Args::scan(const char* help) {
  E_STATUS st = read();
  if (st != SUCCESS) return st;
  if (askedForUsage) printUsage(decl, help);
  return SUCCESS;
}

const OptHit* Args::last(const OptDecl& o) const {
  for (int k = nHits - 1; k >= 0; --k)
    if (found[k].opt == &o) return &found[k];
  return nullptr;
}

const OptHit* Args::lastOf(std::initializer_list<const OptDecl*> opts) const {
  for (int k = nHits - 1; k >= 0; --k)
    for (const OptDecl* o : opts)
      if (found[k].opt == o) return &found[k];
  return nullptr;
}

// A value left out where it may be (optional) takes the default; one missing
// where the rules count it as 0 is 0, or the empty word.
bool Args::missingIsZero(const OptHit* h, int i) const {
  return h && !h->has[i] && h->opt->kind == OPT_OPTION && !h->opt->vals[i].optional;
}

unsigned long Args::num(const OptDecl& o, unsigned long dflt, int i) const {
  const OptHit* h = last(o);
  return h && h->has[i] ? h->num[i] : missingIsZero(h, i) ? 0 : dflt;
}

const char* Args::word(const OptDecl& o, const char* dflt, int i) const {
  const OptHit* h = last(o);
  return h && h->has[i] ? h->word[i] : missingIsZero(h, i) ? "" : dflt;
}
