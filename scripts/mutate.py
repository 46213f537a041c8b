#!/usr/bin/env python3
"""Plants one small fault at a time in src/ and asks whether the tests catch it.

Usage: scripts/mutate.py [-n FAULTS] [--seed S] [--work DIR] [--again RESULTS.jsonl] [--whole] [--minutes M]
                         [--only src/PATH]...

The committed tree (HEAD) is copied to WORK/tree. Two builds of it are made: WORK/cov (gcov), from which
each test suite's own coverage gives the map "which suites run this line" (kept while the code is), and WORK/build
(unoptimised, no sanitizers, no debug information: the quickest to rebuild), in which the faults are built.
For each fault of a seeded sample of the fault sites of src/ (comments, string literals and preprocessor
lines left alone) the tool rebuilds what the fault touches, runs only the suites that run the faulted line
(each test in its own process, two at once, with a time bound, stopping at the first failure) and puts the
line back.
Verdicts: caught (a test failed, crashed or ran past its bound), passed (every test that runs the line
passed), unreached (no test runs the line), not compiled, and the same object (it passed, and the objects of
src/ that it reaches, compiled with -O2, are byte for byte the unchanged tree's: no fault of the program; not
counted either way).
Results go to WORK/results-SEED.jsonl (one fault a line) and the diff of every fault that was not caught to
WORK/passed-SEED.txt. See docs/testing.md.
"""
import argparse, hashlib, json, os, random, re, shlex, shutil, signal, subprocess, sys, tempfile, time

ROOT = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))

# Code in these files also runs in processes that end by a signal (kill -9 of a semaphore holder, a fatal
# signal's clean-up), which write no coverage counts: a line of theirs that the map shows unreached is tried
# against every test instead.
SIGNAL_ENDED = ('src/base/sharedSem.cpp', 'src/base/programSem.cpp', 'src/base/lockFile.cpp',
                'src/base/processEnd.cpp', 'src/base/termState.cpp')

# (kind, pattern on the code with literals and comments blanked, replacement or None for a computed one)
OPS = [
    ('cmp', r'(?<![<>=!])==(?!=)', '!='), ('cmp', r'!=', '=='),
    ('cmp', r'(?<![<>=!-])<=(?!=)', '<'), ('cmp', r'(?<![<>=!-])>=(?!=)', '>'),
    ('cmp', r'(?<![<>=!-])<(?![<=])', '<='), ('cmp', r'(?<![<>=!-])>(?![>=])', '>='),
    ('logic', r'&&', '||'), ('logic', r'\|\|', '&&'),
    ('bool', r'\btrue\b', 'false'), ('bool', r'\bfalse\b', 'true'),
    ('status', r'\bSUCCESS\b', 'FAILURE'), ('status', r'\bFAILURE\b', 'SUCCESS'),
    ('const', r'(?<![\w.])(0[xX][0-9a-fA-F]+|\d+)[uUlL]*(?![\w.])', None),
    ('not', r'!(?!=)(?=[\w(])', ''),
    ('call', r'^\s*[A-Za-z_][\w:.>\-]*\s*\(.*\)\s*;\s*$', None),
]
CALL_SKIP = re.compile(r'^\s*(return|if|for|while|switch|case|static_assert|assert|else|delete|throw)\b')


def blank_literals(line, in_comment):
    """The line with string and character literals and comments turned to blanks, and whether a /* */
    comment is still open at its end."""
    out, i, q = [], 0, None
    while i < len(line):
        c = line[i]
        if in_comment:
            if line.startswith('*/', i):
                in_comment = False; out.append('  '); i += 2; continue
            out.append(' '); i += 1; continue
        if q:
            if c == '\\':
                out.append('  '); i += 2; continue
            if c == q: q = None
            out.append(' '); i += 1; continue
        if c in '"\'' and not (c == "'" and i and line[i - 1].isalnum() and i + 1 < len(line) and line[i + 1].isdigit()):
            q = c; out.append(' ')
        elif line.startswith('//', i):
            out.append(' ' * (len(line) - i)); break
        elif line.startswith('/*', i):
            in_comment = True; out.append('  '); i += 2; continue
        else:
            out.append(c)
        i += 1
    return ''.join(out)[:len(line)], in_comment


def angle_bracket(code, s, e):
    """A < or > that is part of a template argument list, an include or an arrow, not a comparison."""
    if code[max(0, s - 1):e + 1].find('->') >= 0: return True
    return bool(re.search(r'template|std::|static_cast|reinterpret_cast|const_cast|dynamic_cast|array<|'
                          r'vector<|optional<|span<|function<|map<|pair<|ptr<|_t<|numeric_limits<', code))


def in_attribute(code, at):
    """Whether the column lies inside an __attribute__((...)): a check of the compiler's (a printf format's
    argument numbers), no code of the program."""
    i = code.rfind('__attribute__', 0, at)
    return i >= 0 and code.count('(', i, at) > code.count(')', i, at)


def sites(tree):
    """Every fault site of src/: (path, line index, start, end, kind, replacement)."""
    out = []
    for d, _, files in sorted(os.walk(os.path.join(tree, 'src'))):
        for f in sorted(files):
            if not f.endswith(('.cpp', '.h')): continue
            p = os.path.join(d, f); rel = os.path.relpath(p, tree)
            in_comment = in_assert = False
            for n, line in enumerate(open(p, encoding='utf-8', errors='replace').read().split('\n')):
                code, in_comment = blank_literals(line, in_comment)
                s = code.strip()
                # A static_assert, to the ';' that ends it, however many lines it takes: a check at compile time.
                if 'static_assert' in s or in_assert:
                    in_assert = not s.endswith(';')
                    continue
                if not s or s.startswith('#'): continue
                for kind, pat, rep in OPS:
                    for m in re.finditer(pat, code):
                        a, b = m.start(), m.end()
                        if in_attribute(code, a): continue
                        if kind == 'cmp' and code[a] in '<>' and angle_bracket(code, a, b): continue
                        if kind == 'const':
                            if '[' in code[:a] and ']' in code[b:] and re.search(r'\w+\s*\[[^\]]*$', code[:a]) \
                               and re.match(r'^\s*(static\s+)?(const\w*\s+)?[\w:<>]+\s+\w+\s*\[', code):
                                continue  # an array's size: a fault there changes no behaviour a test can see
                            lit = line[a:b]
                            digits = lit.rstrip('uUlL'); suffix = lit[len(digits):]
                            octal = len(digits) > 1 and digits[0] == '0' and digits[1].isdigit()
                            v = int(digits, 8 if octal else 0)
                            new = v + 1 if (n + a) % 2 == 0 or v == 0 else v - 1
                            rep_ = (hex(new) if digits[:2].lower() == '0x' else oct(new).replace('0o', '0')
                                    if octal else str(new)) + suffix
                            out.append((rel, n, a, b, kind, rep_))
                        elif kind == 'call':
                            if CALL_SKIP.match(code) or '=' in code.replace('==', '').replace('!=', '') \
                               or code.rstrip().endswith(') const;') or re.match(r'^\s*[\w:<>]+\s+[\w:]+\s*\(', code):
                                continue
                            if code.count('(') != code.count(')'): continue
                            out.append((rel, n, len(line) - len(line.lstrip()), len(line), kind, ';'))
                        else:
                            out.append((rel, n, a, b, kind, rep))
    return out


def sh(cmd, cwd=None, timeout=None, env=None):
    """Runs a command; its status, 'timeout' when it ran past its bound (then it and every process it
    started are killed), and its output."""
    p = subprocess.Popen(cmd, cwd=cwd, shell=True, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, env=env,
                         start_new_session=True)
    try:
        out, _ = p.communicate(timeout=timeout)
        return p.returncode, out.decode(errors='replace')
    except subprocess.TimeoutExpired:
        os.killpg(p.pid, signal.SIGKILL)
        out, _ = p.communicate()
        return 'timeout', out.decode(errors='replace')


class Tests:
    """The tests of the test program as ctest would run them (each in a process of its own: tests of one process
    share its directory), and running some of them."""
    def __init__(self, build):
        self.build = build
        self.bin = os.path.join(build, 'tests', 'diag_tests')
        rc, out = sh(f'ctest --test-dir {build} --show-only=json-v1 2>/dev/null', timeout=120)
        if rc != 0: sys.exit(f'cannot list the tests of {build}:\n{out}')
        self.cmds = {}
        for t in json.loads(out)['tests']:
            props = {p['name']: p['value'] for p in t.get('properties', [])}
            if 'vm' in props.get('LABELS', []) or t['name'].startswith(('Vm', 'vm')): continue
            env = dict(os.environ, **dict(e.split('=', 1) for e in props.get('ENVIRONMENT', [])))
            self.cmds[t['name']] = (t['command'], props.get('WORKING_DIRECTORY', build), env)

    def suiteFiles(self):
        """{suite: its test file, relative to the tree}."""
        listing = os.path.join(self.build, 'tests.json')
        rc, out = sh(f'{self.bin} --gtest_list_tests --gtest_output=json:{listing}', timeout=120)
        if rc != 0: sys.exit(f'cannot list the tests of {self.bin}:\n{out}')
        out = {}
        for suite in json.load(open(listing))['testsuites']:
            f = suite['testsuite'][0]['file']
            out[suite['name']] = os.path.relpath(f, os.path.join(self.build, '..', 'tree')) if os.path.isabs(f) else f
        return out

    def fileOf(self, suite):
        """The test file of a suite, relative to the tree ('' for none), read from the test program once."""
        if not hasattr(self, 'files'): self.files = self.suiteFiles()
        return self.files.get(suite, '')

    def of(self, suites):
        """The tests of these suites (None: every test)."""
        return [n for n in self.cmds if suites is None or n.split('.', 1)[0] in suites]

    def run(self, names, bound, stop=True):
        """Runs these tests in this order, two at once, each with its bound (bound(name) in seconds), stopping
        at the first that fails when stop is set. Returns 'pass', 'fail' or 'timeout', the names of the tests
        that failed, their output, and each test's time."""
        todo, running, failed, outs, secs = list(names), {}, [], [], {}
        verdict = 'pass'
        def end(p, f):
            if p.poll() is None:
                try: os.killpg(p.pid, signal.SIGKILL)
                except ProcessLookupError: pass
                p.wait()
            f.seek(0); out = f.read().decode(errors='replace'); f.close()
            return out
        while running or (todo and not (stop and failed)):
            while todo and len(running) < 2 and not (stop and failed):
                n = todo.pop(0); cmd, cwd, env = self.cmds[n]
                f = tempfile.TemporaryFile()  # a file, not a pipe: a test that prints much never blocks
                p = subprocess.Popen(cmd, cwd=cwd, env=env, stdout=f, stderr=subprocess.STDOUT,
                                     start_new_session=True)
                running[n] = (p, f, time.time())
            time.sleep(0.02)
            for n, (p, f, t0) in list(running.items()):
                if p.poll() is None and time.time() - t0 < bound(n):
                    continue
                rc = p.poll(); out = end(p, f)
                del running[n]; secs[n] = time.time() - t0
                if rc is None or rc != 0:
                    failed.append(n); outs.append(f'--- {n}\n{out[-4000:]}')
                    if rc is None and verdict == 'pass': verdict = 'timeout'
                    elif verdict == 'pass': verdict = 'fail'
            if stop and failed:
                for p, f, _ in running.values(): end(p, f)
                running.clear()
        return verdict, failed, '\n'.join(outs), secs


def gcov_lines(objdir_root, srcroot):
    """{file: ({executed lines}, {instrumented lines}, {line: its function})} from the .gcda files under
    objdir_root."""
    gcdas = []
    for d, _, files in os.walk(objdir_root):
        # Only the program's own objects: the simulator's and the tests' lines are never faulted.
        if '/src/' in d + '/': gcdas += [os.path.join(d, f) for f in files if f.endswith('.gcda')]
    res = {}
    for i in range(0, len(gcdas), 40):
        rc, out = sh('gcov --stdout --json-format ' + ' '.join(gcdas[i:i + 40]) + ' 2>/dev/null', cwd='/tmp',
                     timeout=600)
        dec, at = json.JSONDecoder(), out.find('{')
        while at >= 0:  # one document per object file, not always a line each
            doc, at = dec.raw_decode(out, at)
            at = out.find('{', at)
            for f in doc.get('files', []):
                name = os.path.normpath(os.path.join(srcroot, f['file']))
                if not name.startswith(os.path.join(srcroot, 'src') + '/'): continue
                rel = os.path.relpath(name, srcroot)
                run, inst, fn = res.setdefault(rel, (set(), set(), {}))
                for l in f['lines']:
                    inst.add(l['line_number'])
                    fn[str(l['line_number'])] = l.get('function_name', '')
                    if l['count'] > 0: run.add(l['line_number'])
    return res


def tree_key(tree, parts):
    """A digest of the files under these parts of the tree."""
    h = hashlib.sha1()
    for part in parts:
        top = os.path.join(tree, part)
        walk = [(os.path.dirname(top), [], [os.path.basename(top)])] if os.path.isfile(top) else os.walk(top)
        for d, dirs, files in walk:
            dirs.sort()
            for f in sorted(files):
                p = os.path.join(d, f)
                h.update(p.encode()); h.update(open(p, 'rb').read())
    return h.hexdigest()


def coverage_map(work, tree):
    """{file: {line: [suites]}}, {file: {instrumented lines}} and each suite's time, from the gcov build: each
    suite runs alone with zeroed counts (the programs it starts write theirs too), then gcov reads them. A suite
    is mapped again only when the program's code changed, or its own test file or the tests' support did."""
    path = os.path.join(work, 'map.json')
    code = tree_key(tree, ['src', 'sim', 'CMakeLists.txt', 'cmake', 'docgen', 'examples'])
    support = tree_key(tree, ['tests/support', 'tests/CMakeLists.txt'])
    pages = tree_key(tree, ['README.md', 'docs', 'bench/README.md'])  # what the examples' suites run
    m = json.load(open(path)) if os.path.exists(path) else {}
    if m.get('code') != code or 'fn' not in m: m = {'code': code, 'suites': {}, 'inst': {}, 'fn': {}}
    cov = os.path.join(work, 'cov')
    if not os.path.exists(os.path.join(cov, 'CMakeCache.txt')):
        sh(f'cmake -S {tree} -B {cov} -G Ninja -DCMAKE_BUILD_TYPE=Debug -DDIAG_COVERAGE=ON -DDIAG_TESTS=ON', timeout=600)
    rc, out = sh(f'cmake --build {cov} -j2', timeout=7200)
    if rc != 0: sys.exit('the coverage build failed:\n' + out[-3000:])
    t = Tests(cov)
    files = t.suiteFiles()
    for s in list(m['suites']):
        if s not in files: del m['suites'][s]
    for s, f in sorted(files.items()):
        if s.startswith('Vm') or s.endswith('Vm'): continue
        mine = support + (pages if f.startswith('tests/docs/') else '') + open(os.path.join(tree, f), 'rb').read().hex()
        key = hashlib.sha1(mine.encode()).hexdigest()
        if m['suites'].get(s, {}).get('key') == key: continue
        sh(f'find {cov} -name "*.gcda" -delete')
        t0 = time.time()
        rc = t.run(t.of([s]), lambda n: 900, stop=False)[0]
        secs = time.time() - t0
        ran = {}
        for f_, (run, ins, fn) in gcov_lines(cov, tree).items():
            m['inst'][f_] = sorted(set(m['inst'].get(f_, [])) | ins)
            m['fn'].setdefault(f_, {}).update(fn)
            if run: ran[f_] = sorted(run)
        m['suites'][s] = {'key': key, 'secs': secs, 'lines': ran}
        json.dump(m, open(path, 'w'))
        print(f'map: {s} {secs:.0f} s{"" if rc == "pass" else " (" + rc + " in the coverage build)"}', flush=True)
    lines = {}
    for s, v in m['suites'].items():
        for f_, ls in v['lines'].items():
            for l in ls: lines.setdefault(f_, {}).setdefault(str(l), []).append(s)
    return {'lines': lines, 'inst': m['inst'], 'fn': m['fn'], 'secs': {s: v['secs'] for s, v in m['suites'].items()},
            'files': files}


def includers(tree, rel):
    """Files of src/ that include rel's header by name (a table's or constant's users)."""
    hdr = os.path.basename(rel).rsplit('.', 1)[0] + '.h'
    out = []
    for d, _, files in os.walk(os.path.join(tree, 'src')):
        for f in files:
            p = os.path.join(d, f)
            if f.endswith(('.cpp', '.h')) and f'"{hdr}"' in open(p, errors='replace').read():
                out.append(os.path.relpath(p, tree))
    return out


def suites_including(m, tree, rel):
    """The suites whose test file includes rel's header by name."""
    hdr = f'"{os.path.basename(rel).rsplit(".", 1)[0]}.h"'
    return {s for s, f in m['files'].items() if hdr in open(os.path.join(tree, f), errors='replace').read()}


def chosen_suites(m, tree, rel, line):
    """The suites to run for a fault on this line, or None for every suite; [] when no test runs it."""
    per = m['lines'].get(rel, {})
    # A header's inline code also runs from the tests' own objects, whose counts the map leaves out (they cost
    # five times the program's to read): a header's line is tried against every suite that reaches its file.
    if not rel.endswith('.h') and line in set(m['inst'].get(rel, [])):
        got = per.get(str(line), [])
        # A test of these files may run the line in a child that a signal or _exit ends, which writes no
        # counts: the suites whose test file includes the file's header are tried as well.
        if got: return sorted(set(got) | (suites_including(m, tree, rel) if rel in SIGNAL_ENDED else set()))
        if rel in SIGNAL_ENDED: return None
        # Never counted, though its function may run: the rows of a table built from a list in braces carry
        # only the clean-up code of an exception, which never runs, while their values are used. The suites
        # that run the line's function are tried; the verdict stays unreached unless one of them fails.
        fns = m['fn'].get(rel, {}); mine = fns.get(str(line))
        return sorted({s for l, f in fns.items() if f == mine and mine for s in per.get(l, [])})
    # No code of its own on this line (a constant, a table row, a declaration), or a header: the suites that
    # run any line of this file or of a file that includes it.
    got = set()
    for f in [rel] + includers(tree, rel):
        for v in m['lines'].get(f, {}).values(): got.update(v)
    # A header's templates and inline functions also run in the tests that include it (a register walk that
    # a test instantiates with a chip of its own), whose objects the map does not read.
    if rel.endswith('.h'): got.update(suites_including(m, tree, rel))
    # A line without code in a file that no suite runs (a command's registration): what it changes is seen
    # elsewhere, by a test that lists the commands, so every suite is tried.
    return sorted(got) if got else None


def copy_head(work, tree):
    """The committed tree in WORK/tree. Only files that differ from the last copy are written, so that the
    builds in WORK redo only what changed."""
    new = os.path.join(work, 'new'); shutil.rmtree(new, ignore_errors=True); os.makedirs(new)
    rc, out = sh(f'git -C {ROOT} archive HEAD | tar -x -C {new}', timeout=300)
    if rc != 0: sys.exit('cannot copy the committed tree:\n' + out)
    for d, _, files in os.walk(new):
        for f in files:
            p = os.path.join(d, f); q = os.path.join(tree, os.path.relpath(p, new))
            if not os.path.exists(q) or open(p, 'rb').read() != open(q, 'rb').read():
                os.makedirs(os.path.dirname(q), exist_ok=True); shutil.copyfile(p, q); shutil.copymode(p, q)
    for d, _, files in os.walk(tree):
        for f in files:
            q = os.path.join(d, f)
            if not os.path.exists(os.path.join(new, os.path.relpath(q, tree))): os.remove(q)
    shutil.rmtree(new)


def order(tests, names, rel, cost):
    """The tests most likely to catch a fault in rel first: those of its own subsystem (tests/i2c for src/i2c),
    then the quickest. A caught fault then costs its first failing test, not the slowest test that reaches it."""
    part = rel.split('/')[1]
    return sorted(names, key=lambda n: (not tests.fileOf(n.split('.', 1)[0]).startswith(f'tests/{part}/'),
                                        cost.get(n, 30), n))


class SameObject:
    """Whether a fault leaves the optimised objects of the program byte for byte as they were. Then the fault is
    no fault: the compiler proved the program unchanged (a value overwritten before it is read, a test that the
    code before it already decided, a number of an enumeration that no code names), and no test could tell it.
    Only faults that the tests let through are compiled so, once each and once for the unchanged file. A
    header's fault is compiled in every file of src/ whose object depends on the header (the build's own
    dependency record tells which), up to HEADER_USERS of them; a header more widely used is not tried."""
    HEADER_USERS = 100

    def __init__(self, build, tree):
        db = os.path.join(build, 'compile_commands.json')
        rc, out = (0, open(db).read()) if os.path.exists(db) else sh('ninja -t compdb', cwd=build, timeout=120)
        self.cmds, self.orig = {}, {}
        for e in (json.loads(out) if rc == 0 else []):
            f = os.path.normpath(os.path.join(e['directory'], e['file']))
            self.cmds.setdefault(f, (e['directory'], e['command']))
        self.users = self.header_users(build, os.path.join(tree, 'src') + os.sep)

    @staticmethod
    def header_users(build, src):
        """header path -> the files of src/ whose objects the build records as depending on it."""
        rc, out = sh('ninja -t deps', cwd=build, timeout=120)
        users, first = {}, None
        for line in (out.split('\n') if rc == 0 else []):
            if not line.startswith(' '): first = None; continue
            f = os.path.normpath(os.path.join(build, line.strip()))
            if first is None: first = f; continue
            if first.startswith(src) and f.startswith(src): users.setdefault(f, set()).add(first)
        return users

    def compile(self, path):
        """The object of the file as it is now, compiled with -O2, or None when it cannot be."""
        if path not in self.cmds: return None
        d, cmd = self.cmds[path]
        words, out, skip = shlex.split(cmd), [], 0
        for w in words:
            if skip: skip -= 1; continue
            if w in ('-o', '-MT', '-MF'): skip = 1; continue
            if w in ('-MD', '-MMD') or w.startswith(('-O', '-g')): continue
            out.append(w)
        with tempfile.TemporaryDirectory() as t:
            o = os.path.join(t, 'x.o')
            # A fixed build time: the version command's date and time would differ from one compile to the next.
            rc, _ = sh(shlex.join(out + ['-O2', '-g0', '-o', o]), cwd=d, timeout=600,
                       env=dict(os.environ, SOURCE_DATE_EPOCH='0'))
            return open(o, 'rb').read() if rc == 0 else None

    def objects(self, path):
        """The faulted objects that path's fault reaches, as {file: object}, or None when they are not tried."""
        files = [path] if path.endswith('.cpp') else sorted(self.users.get(path, ()))
        if not files or len(files) > self.HEADER_USERS: return None
        objs = {}
        for f in files:
            objs[f] = self.compile(f)
            if objs[f] is None: return None
        return objs

    def same(self, path, faulted, text):
        """Whether the faulted objects equal the unchanged ones (path holds text again)."""
        if faulted is None: return False
        key = hashlib.sha1(text.encode()).hexdigest()
        for f, o in faulted.items():
            if (f, key) not in self.orig: self.orig[(f, key)] = self.compile(f)
            if self.orig[(f, key)] != o: return False
        return True


def never_counted(m, rel, line):
    """A line with code that no suite ran (its verdict is unreached unless a test of its function fails)."""
    return not rel.endswith('.h') and rel not in SIGNAL_ENDED and line in set(m['inst'].get(rel, [])) \
        and not m['lines'].get(rel, {}).get(str(line))


def try_fault(fault, a, m, tree, tests, target, cost, so):
    """Plants one fault, builds, runs the chosen tests, and puts the line back."""
    rel, n, s0, e0, kind, rep = fault
    p = os.path.join(tree, rel)
    text = open(p, encoding='utf-8').read()
    lines = text.split('\n'); old = lines[n]
    lines[n] = old[:s0] + rep + old[e0:]
    chosen = None if a.whole else chosen_suites(m, tree, rel, n + 1)
    t0 = time.time(); by = []; faulted = None
    try:
        open(p, 'w').write('\n'.join(lines))
        rc, out = sh(target, timeout=1800)
        if rc != 0:
            verdict = 'uncompiled'
        elif chosen == []:
            verdict = 'unreached'
        else:
            # A test's bound: four times its time on the unchanged tree and half a minute; a fault that makes
            # the program hang is caught by it.
            v, failed, out, _ = tests.run(order(tests, tests.of(chosen), rel, cost),
                                          lambda t: 30 + 4 * cost.get(t, 30))
            verdict = 'caught' if v != 'pass' else 'unreached' if never_counted(m, rel, n + 1) else 'passed'
            by = failed if v == 'fail' else [f'{f} (timeout)' for f in failed]
        if verdict in ('passed', 'unreached'): faulted = so.objects(p)
    finally:
        open(p, 'w').write(text)
    if so.same(p, faulted, text): verdict = 'same'
    rec = dict(verdict=verdict, file=rel, line=n + 1, col=s0, kind=kind, old=old[s0:e0], new=rep,
               suites=('all' if chosen is None else len(chosen)), by=by, secs=round(time.time() - t0))
    return verdict, rec, (old, lines[n])


def still_there(tree, t):
    """Whether a recorded fault's text is still at its line and column."""
    lines = open(os.path.join(tree, t['file']), encoding='utf-8', errors='replace').read().split('\n')
    return t['line'] <= len(lines) and lines[t['line'] - 1][t['col']:t['col'] + len(t['old'])] == t['old']


def main():
    ap = argparse.ArgumentParser(description=__doc__.split('\n')[0])
    ap.add_argument('-n', type=int, default=300, help='faults that compile to try (default 300)')
    ap.add_argument('--seed', type=int, default=1)
    ap.add_argument('--work', default=os.path.join(ROOT, 'build', 'mutate'))
    ap.add_argument('--again', help='try again the faults of a results file that were not caught')
    ap.add_argument('--whole', action='store_true', help='run every test for each fault, not the map\'s choice')
    ap.add_argument('--minutes', type=float, help='stop planting after this many minutes (the figures so far stand)')
    ap.add_argument('--only', action='append', default=[], metavar='PATH',
                    help='plant only in the files of src/ whose path starts with PATH (may be given again)')
    a = ap.parse_args()
    work = os.path.abspath(a.work); tree = os.path.join(work, 'tree'); build = os.path.join(work, 'build')
    os.makedirs(work, exist_ok=True)
    copy_head(work, tree)
    m = coverage_map(work, tree)
    if not os.path.exists(os.path.join(build, 'CMakeCache.txt')):
        sh(f'cmake -S {tree} -B {build} -G Ninja -DCMAKE_BUILD_TYPE=None -DDIAG_TESTS=ON -DDIAG_BENCH=OFF', timeout=600)
    target = 'cmake --build ' + build + ' -j2'
    rc, out = sh(target, timeout=7200)
    if rc != 0: sys.exit('the build of the unchanged tree failed:\n' + out[-3000:])
    tests = Tests(build)
    # The unchanged tree must pass every test, once per content of the tree; each test's time there orders and
    # bounds the runs of the faults.
    stamp = os.path.join(work, 'passes-' + tree_key(tree, ['src', 'sim', 'tests', 'CMakeLists.txt', 'cmake', 'docgen',
                                                           'examples', 'docs', 'README.md', 'bench/README.md']) + '.json')
    if os.path.exists(stamp):
        cost = json.load(open(stamp))
    else:
        t0 = time.time(); verdict, failed, out, cost = tests.run(tests.of(None), lambda n: 900, stop=False)
        print(f'unchanged tree: every test {verdict}, {time.time() - t0:.0f} s', flush=True)
        if verdict != 'pass':
            sys.exit(f'the unchanged tree fails {failed}: a fault\'s verdict would mean nothing\n' + out[-3000:])
        json.dump(cost, open(stamp, 'w'))

    if a.again:
        todo = [json.loads(l) for l in open(a.again) if l.strip()]
        todo = [t for t in todo if t['verdict'] in ('passed', 'unreached')]
        # A fault whose line has changed since (code above it added or removed) is not planted on whatever now
        # sits there: it is named, and left out.
        for t in [t for t in todo if not still_there(tree, t)]:
            print(f'moved      {t["file"]}:{t["line"]}: the line no longer holds {t["old"]!r}', flush=True)
        todo = [(t['file'], t['line'] - 1, t['col'], t['col'] + len(t['old']), t['kind'], t['new'])
                for t in todo if still_there(tree, t)]
        tag = os.path.basename(a.again).replace('results-', 'again-').replace('.jsonl', '')
    else:
        todo = [t for t in sites(tree) if not a.only or t[0].startswith(tuple(a.only))]
        random.Random(a.seed).shuffle(todo)
        # A sample of some files only is not a sample of src/: its results are kept apart.
        tag = f'seed{a.seed}' + ('-only' if a.only else '')
    res = open(os.path.join(work, f'results-{tag}.jsonl'), 'w')
    passed = open(os.path.join(work, f'passed-{tag}.txt'), 'w')
    counts = dict(caught=0, passed=0, unreached=0, uncompiled=0, same=0)
    so = SameObject(build, tree)
    end = time.time() + 60 * a.minutes if a.minutes else None
    taken = 0
    while taken < len(todo) and counts['caught'] + counts['passed'] + counts['unreached'] < a.n:
        # The next faults of the sample, in file order: putting a file back and faulting it again is one rebuild.
        # (In batches of 25, so that a session cut short by --minutes is still a sample of all of src/.)
        need = min(25, a.n - (counts['caught'] + counts['passed'] + counts['unreached']))
        batch = sorted(todo[taken:taken + need], key=lambda t: (t[0], t[1], t[2]))
        taken += need
        for fault in batch:
            if end and time.time() > end: break
            verdict, rec, line = try_fault(fault, a, m, tree, tests, target, cost, so)
            counts[verdict] += 1
            res.write(json.dumps(rec) + '\n'); res.flush()
            if verdict in ('passed', 'unreached', 'same'):
                passed.write(f'--- {rec["file"]}:{rec["line"]} ({rec["kind"]}, {verdict})\n-{line[0]}\n+{line[1]}\n\n')
                passed.flush()
            print(f'{verdict:10} {rec["file"]}:{rec["line"]} {rec["kind"]}: {line[0].strip()[:60]!r} -> '
                  f'{line[1].strip()[:60]!r} [{rec["suites"]} suites, {rec["secs"]} s]', flush=True)
        if end and time.time() > end:
            print('stopped at the time limit', flush=True); break
    sh(target, timeout=7200)
    tried = counts['caught'] + counts['passed'] + counts['unreached']
    print(f'{tag}: {tried} faults that compile, {counts["caught"]} caught '
          f'({100 * counts["caught"] / max(tried, 1):.1f} %), {counts["passed"]} passed, '
          f'{counts["unreached"]} unreached, {counts["uncompiled"]} not compiled, {counts["same"]} the same object; '
          f'{len(todo)} sites', flush=True)


if __name__ == '__main__':
    main()
