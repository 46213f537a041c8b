#!/usr/bin/env python3
"""Failure messages of the program and which of them the tests produced.

Reads the program's sources for the logging calls that report a failure and
gcovr's JSON report of a test run, and prints:
  - line and branch coverage per subsystem (the folders of src/),
  - the share of failure messages whose logging line ran in at least one test,
  - each message that never ran, with the reason kept for it in
    scripts/unproducedReasons.txt (or "no reason recorded").

A failure message is one logging call on an error path:
  - every LOGERR / LOGERR_FN call (the system's error-report form) except the
    traces that share that form (entry, exit and progress lines, see TRACES);
  - every plain log() call whose text reports a failure (FAILURE_WORDS).
A message is a distinct text: the same text logged from several places is one
message, produced when gcov saw at least one of its logging lines run; so each
call must start a line of its own (not follow an `if` on the same line), which
this script checks. A line that logs a text chosen at run time (a table entry
or a caller's argument, "%s") is a message of its own. The logging places are
counted too, each on its own.

Usage: failureMessages.py SRC_DIR GCOVR_JSON [--list]
Exit status: 0, or 2 when a logging call cannot be counted.
"""
import json
import os
import re
import sys

CALL = re.compile(r"(?<![\w.>:])(LOGERR_FN|LOGERR|logText|log)\s*\(")
TRACES = re.compile(r"^(entry|exit|category= |calling |current value= |waited |retries required)")
FAILURE_WORDS = re.compile(
    r"fail|unable|not found|timed out|cannot|does not answer|not connected|not available|not reachable|"
    r"too many|not a device|is NULL|not part of|not checked|is not a number|out of range|wrong",
    re.IGNORECASE)
# Plain log() lines that contain a failure word but are not failure reports.
NOT_FAILURES = re.compile(r"^(PASSED|FAILED|%s - %lu accesses of)")
STRING = re.compile(r'"((?:[^"\\]|\\.)*)"')


def argsOf(text, start):
    """The top-level arguments of the call whose '(' is at text[start], and the index past ')'."""
    depth, args, cur, i, inStr = 0, [], "", start, None
    while i < len(text):
        c = text[i]
        if inStr:
            cur += c
            if c == "\\":
                cur += text[i + 1]
                i += 1
            elif c == inStr:
                inStr = None
        elif c in "\"'":
            inStr = c
            cur += c
        elif c == "(":
            depth += 1
            if depth > 1:
                cur += c
        elif c == ")":
            depth -= 1
            if depth == 0:
                args.append(cur.strip())
                return args, i + 1
            cur += c
        elif c == "," and depth == 1:
            args.append(cur.strip())
            cur = ""
        else:
            cur += c
        i += 1
    return args, i


def literal(arg):
    """The text of an argument made of string literals (adjacent ones joined); None otherwise."""
    parts = STRING.findall(arg)
    if not parts or STRING.sub("", arg).strip():
        return None
    return "".join(parts)


def stripComments(text):
    """Blanks out comments, keeping strings and line numbers."""
    out, i, n = [], 0, len(text)
    while i < n:
        if text.startswith("//", i):
            j = text.find("\n", i)
            j = n if j < 0 else j
            out.append(" " * (j - i))
            i = j
        elif text.startswith("/*", i):
            j = text.find("*/", i + 2)
            j = n if j < 0 else j + 2
            out.append(re.sub(r"[^\n]", " ", text[i:j]))
            i = j
        elif text[i] == '"':
            m = re.compile(r'"(?:[^"\\\n]|\\.)*"').match(text, i)
            j = m.end() if m else i + 1
            out.append(text[i:j])
            i = j
        else:
            out.append(text[i])
            i += 1
    return "".join(out)


def messages(srcDir):
    """Every failure message: (file relative to the project, line, format text, countable)."""
    found = []
    for root, _, files in os.walk(srcDir):
        for name in sorted(files):
            if not name.endswith(".cpp"):
                continue
            path = os.path.join(root, name)
            text = stripComments(open(path, encoding="utf-8").read())
            lines = text.split("\n")
            for m in CALL.finditer(text):
                args, _ = argsOf(text, m.end() - 1)
                kind = m.group(1)
                fmtAt = 2 if kind == "LOGERR_FN" else 1
                if len(args) <= fmtAt:
                    continue
                fmt = literal(args[fmtAt])
                if fmt is None:
                    continue  # a text formatted elsewhere (file contents, a chosen verdict)
                line = text.count("\n", 0, m.start()) + 1
                if kind.startswith("LOGERR"):
                    if TRACES.match(fmt):
                        continue
                elif not FAILURE_WORDS.search(fmt) or NOT_FAILURES.match(fmt):
                    continue
                before = lines[line - 1][: m.start() - text.rfind("\n", 0, m.start()) - 1]
                countable = before.strip() == ""
                rel = os.path.relpath(path, os.path.dirname(os.path.abspath(srcDir)))
                found.append((rel, line, fmt.replace("\\n", "").replace("\\r", ""), countable))
    return sorted(found)


def loadCoverage(jsonPath):
    data = json.load(open(jsonPath, encoding="utf-8"))
    cov = {}
    for f in data["files"]:
        cov[f["file"]] = {l["line_number"]: l for l in f["lines"]}
    return cov


def subsystem(path):
    parts = path.split("/")
    return parts[1] if len(parts) > 2 and parts[0] == "src" else None


def coverageTable(cov):
    sums = {}
    for path, lines in cov.items():
        sub = subsystem(path)
        if not sub:
            continue
        s = sums.setdefault(sub, [0, 0, 0, 0])
        for l in lines.values():
            if l.get("gcovr/noncode"):
                continue
            s[0] += 1
            s[1] += l["count"] > 0
            for b in l.get("branches", []):
                s[2] += 1
                s[3] += b["count"] > 0
    rows = ["subsystem   lines            branches"]
    total = [0, 0, 0, 0]
    for sub in sorted(sums):
        s = sums[sub]
        total = [a + b for a, b in zip(total, s)]
        rows.append(fmtRow(sub, s))
    rows.append(fmtRow("all", total))
    return rows


def pct(a, b):
    return 100.0 * a / b if b else 0.0


def fmtRow(name, s):
    return f"{name:<11} {pct(s[1], s[0]):5.1f} % {s[1]:>4}/{s[0]:<5} {pct(s[3], s[2]):5.1f} % {s[3]:>4}/{s[2]}"


def textKey(rel, line, fmt):
    """A run-time text ("%s" alone) is its own message; any other text is one message wherever it is logged."""
    return (rel, line) if fmt.strip() == "%s" else fmt


def loadReasons(path):
    reasons = {}
    if os.path.exists(path):
        for raw in open(path, encoding="utf-8"):
            raw = raw.strip()
            if raw and not raw.startswith("#") and "\t" in raw:
                key, why = raw.split("\t", 1)
                reasons[key.strip()] = why.strip()
    return reasons


def main(argv):
    if len(argv) < 3:
        print(__doc__, file=sys.stderr)
        return 1
    srcDir, jsonPath = argv[1], argv[2]
    listAll = "--list" in argv
    cov = loadCoverage(jsonPath)
    msgs = messages(srcDir)
    reasons = loadReasons(os.path.join(os.path.dirname(os.path.abspath(__file__)), "unproducedReasons.txt"))
    print("\n".join(coverageTable(cov)))
    bad = [m for m in msgs if not m[3]]
    produced, missing = [], []
    for rel, line, fmt, _ in msgs:
        ran = cov.get(rel, {}).get(line, {}).get("count", 0) > 0
        (produced if ran else missing).append((rel, line, fmt))
    texts, textsRan = set(), set()
    for rel, line, fmt, _ in msgs:
        key = textKey(rel, line, fmt)
        texts.add(key)
        if (rel, line, fmt) in produced:
            textsRan.add(key)
    print(f"\nfailure messages produced by a test: {len(textsRan)} of {len(texts)} distinct texts "
          f"({pct(len(textsRan), len(texts)):.1f} %); "
          f"logging places: {len(produced)} of {len(msgs)} ({pct(len(produced), len(msgs)):.1f} %)")
    if listAll:
        print("\nproduced:")
        for rel, line, fmt in produced:
            print(f"  {rel}:{line}  {fmt}")
    print(f"\nlogging places never run ({len(missing)}):")
    for rel, line, fmt in missing:
        key = f"{rel} {fmt}"
        print(f"  {rel}:{line}  {fmt}\n      why: {reasons.get(key, 'no reason recorded')}")
    for rel, line, fmt, _ in bad:
        print(f"cannot count {rel}:{line} ({fmt}): the logging call must start its own line", file=sys.stderr)
    return 2 if bad else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv))
