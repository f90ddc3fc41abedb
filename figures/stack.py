#!/usr/bin/env python3
"""The deepest known path of stack below each entry function of the library.

    figures/stack.py [--paths] FOLDER [ENTRY...]

FOLDER has what g++ wrote of the library's sources with -save-temps=obj -fcallgraph-info=su
-fdump-tree-optimized-lineno: frames and calls (.ci), tables of virtual functions (.s), and which
class a virtual call is for (.optimized). A line for each ENTRY (of tests/packaging/exports.txt where
none is named): its bytes and its name; with --paths the functions below it that add up to them, too.

Virtual calls go to every override in the class and those derived from it. What is outside of the
library counts nothing: the browser, the platform, the integrator's listeners, libc and libstdc++.
figures/stack_rules.txt says where function pointers lead, and how often a path goes round, each
with its reason; a pointer or a recursion that it does not know is a failure, and so is a frame
without a bound.
"""

import collections
import pathlib
import re
import subprocess
import sys

here = pathlib.Path(__file__).resolve().parent
problems = []

EDGE = re.compile(r'^edge: \{ sourcename: "([^"]*)" targetname: "([^"]*)"', re.M)
NODE = re.compile(r'^node: \{ title: "([^"]*)" label: "([^"]*)"', re.M)
FRAME = re.compile(r'\\n(\d+) bytes \(([^)]*)\)')
FUNCTION = re.compile(r'^;; Function .* \(([^, ]+), funcdef_no')
VIRTUAL_CALL = re.compile(r'OBJ_TYPE_REF\([^;]*;\((?:const )?(?:struct|class) ([^)]*)\)'
                          r'[^>]*->(\d+)B\)')
POINTER_CALL = re.compile(r'^\s+\[([^\]:]*)[^\]]*\] (?:\S+ = )?(?:[a-z][\w.]*)?_\d+(?:\(D\))? \(')
LABEL = re.compile(r'^([\w.$]+):')
WORD = re.compile(r'^\s+\.(?:word|long|quad|4byte|8byte)\s+([\w.$]+)')
ALIAS = re.compile(r'^\s+\.(?:thumb_)?set\s+([\w.$]+),\s*(_Z[\w.$]+)$')
INDIRECT = '__indirect_call'


def mangled(title):
    """A node's name without the file that gcc puts before what is local."""
    return title.rsplit(':', 1)[-1]


def unaliased(name):
    """Of a thunk that moves `this`, or a second name, the function itself."""
    name = re.sub(r'\.localalias(\.\d+)?$', '', name)
    return re.sub(r'^_ZThn\d+_', '_Z', name)


def in_words(names):
    """Demangled, without the parameters."""
    names = list(names)
    whole = '\n'.join(re.sub(r'\.[a-z].*', '', name) for name in names)
    answer = subprocess.run(['c++filt', '-p'], input=whole, capture_output=True, text=True,
                            check=True).stdout.split('\n')
    return dict(zip(names, answer))


class Unit:
    """What one source file was compiled to."""

    def __init__(self, ci):
        self.frames = {}                                 # name: bytes
        self.calls = collections.defaultdict(set)        # name: names
        self.virtual = collections.defaultdict(set)      # name: (class, slot)
        self.pointers = collections.defaultdict(set)     # name: source files of the calls
        self.tables = collections.defaultdict(list)      # name of the table: its words
        self.aliases = {}
        self.read_graph(ci.read_text())
        self.read_assembly(ci.with_suffix('.s').read_text())
        for dump in ci.parent.glob(ci.stem + '.*.optimized'):
            self.read_dump(dump.read_text())
        for name, targets in self.calls.items():
            if INDIRECT in targets and not self.virtual[name] and not self.pointers[name]:
                problems.append(f'a call through an unknown pointer in {name}')

    def read_graph(self, text):
        for title, label in NODE.findall(text):
            frame = FRAME.search(label)
            if not frame:
                continue
            self.frames[mangled(title)] = int(frame[1])
            if frame[2] not in ('static', 'dynamic,bounded'):
                problems.append(f'a frame without a bound: {label.split(chr(92))[0]}')
        for caller, callee in EDGE.findall(text):
            self.calls[mangled(caller)].add(mangled(callee))

    def read_assembly(self, text):
        table = None
        for line in text.splitlines():
            if label := LABEL.match(line):
                if not label[1].startswith('.'):
                    table = label[1] if label[1].startswith(('_ZTV', '_ZTI')) else None
            elif table and (word := WORD.match(line)):
                self.tables[table].append(word[1])
            elif alias := ALIAS.match(line):
                self.aliases[alias[1]] = alias[2]

    def read_dump(self, text):
        name = None
        for line in text.splitlines():
            if function := FUNCTION.match(line):
                name = function[1]
            for class_name, slot in VIRTUAL_CALL.findall(line):
                self.virtual[name].add((class_name, int(slot)))
            if pointer := POINTER_CALL.match(line):
                if 'OBJ_TYPE_REF' not in line and not self.is_virtual_result(text, line):
                    self.pointers[name].add(pointer[1])

    @staticmethod
    def is_virtual_result(text, line):
        """Whether it was compared with a guess before it is called: PROF_1 = OBJ_TYPE_REF."""
        called = re.search(r'(\S+) \(', line.split('] ', 1)[-1].split(' = ')[-1])
        return called is not None and f'{called[1]} = OBJ_TYPE_REF' in text


def short(class_name):
    """Of VestaHbbTV::RefCounted<VestaHbbTV::AIT>: RefCounted, as the compiler's dumps say it."""
    plain = re.sub(r'<.*', '', class_name)
    return plain.rsplit('::', 1)[-1]


class Classes:
    """Which functions a call of a class's virtual function may reach."""

    def __init__(self, units):
        names = {n[4:] for u in units for n in u.tables}  # without _ZTV or _ZTI
        self.called = collections.defaultdict(set)   # what is a short name: identities
        self.derived = collections.defaultdict(set)
        self.tables = {}                             # identity: (unit, groups of words)
        pretty = in_words('_ZTV' + n for n in names)
        for unit in units:
            for table, words in unit.tables.items():
                identity = table[4:]
                name = pretty['_ZTV' + identity].replace('vtable for ', '')
                self.called[short(name)].add(identity)
                if table.startswith('_ZTI'):
                    for base in (w[4:] for w in words if w.startswith('_ZTI')):
                        self.derived[base].add(identity)
                else:
                    self.tables[identity] = (unit, self.groups(words))
        # Bases that are not the library's own have no table here.
        foreign = in_words('_ZTV' + base for base in self.derived if base not in names)
        for table, name in foreign.items():
            self.called[short(name.replace('vtable for ', ''))].add(table[4:])

    @staticmethod
    def groups(words):
        """A table's parts, one for each base with virtual functions: after each typeinfo."""
        found = []
        for word in words:
            if word.startswith('_ZTI'):
                found.append([])
            elif found:
                found[-1].append(word)
        return found

    def with_derived(self, identity, seen):
        if identity not in seen:
            seen.add(identity)
            for other in self.derived[identity]:
                self.with_derived(other, seen)
        return seen

    def targets(self, class_name, slot):
        for identity in self.called[short(class_name)]:
            for one in self.with_derived(identity, set()):
                unit, groups = self.tables.get(one, (None, []))
                for group in groups:
                    if slot < len(group) and group[slot].startswith('_Z'):
                        yield unit, unaliased(group[slot])


def plain(name):
    """Without what stands between < and >: a rule is for every instance of a template."""
    name = name.replace('operator<', 'operator less')
    while (shorter := re.sub(r'<[^<>]*>', '', name)) != name:
        name = shorter
    return name


class Rules:
    """figures/stack_rules.txt, which says how its lines look."""

    def __init__(self):
        self.pointers = {}      # source file: how the functions' names begin, or none are meant
        # name: {(what is above it, and how often): how often a path may come by}
        self.times = collections.defaultdict(dict)
        self.watched = set()    # names that count
        for line in (here / 'stack_rules.txt').read_text().splitlines():
            if not line or line.startswith('#'):
                continue
            rule, _, reason = line.partition(': ')
            if pointer := re.fullmatch(r'pointers in (\S+?)(?:, to (\S+))?', rule):
                self.pointers[pointer[1]] = pointer[2]
            elif times := re.fullmatch(r'(.+?), (\d+)(?: below (.+?)( twice)?)?', rule):
                above = (times[3] or '', 2 if times[4] else 1)
                self.times[times[1]][above] = int(times[2])
                self.watched |= {times[1], times[3]}
            if not reason or not (pointer or times):
                problems.append(f'stack_rules.txt: what is "{line}"?')


class Library:
    def __init__(self, folder):
        units = [Unit(ci) for ci in sorted(pathlib.Path(folder).rglob('*.ci'))]
        if not units:
            sys.exit(f'no call graphs below {folder}')
        self.rules = Rules()
        self.owners = collections.defaultdict(list)      # name: the units that have such a function
        self.aliases = {}
        for unit in units:
            self.aliases.update(unit.aliases)
            for name in unit.frames:
                self.owners[name].append(unit)
        words = in_words(self.owners)
        self.names = {name: plain(words[name]) for name in self.owners}
        classes = Classes(units)
        self.calls = {(unit, name): self.resolve(unit, name, classes)
                      for unit in units for name in unit.frames}
        self.deepest = {}                                # (node, what was passed): bytes, path
        self.open = []

    def find(self, unit, name):
        """The functions that a name means in a file: its own, or else those of other files."""
        for known in (name, unaliased(name), self.aliases.get(unaliased(name))):
            if known in unit.frames:
                return [(unit, known)]
            if known in self.owners:
                return [(other, known) for other in self.owners[known]]
        if re.match(r'_ZNK?10VestaHbbTV', name):
            problems.append(f'no frame is known of {name}')
        return []

    def beginning_with(self, begin):
        """The functions of a rule for pointers: there are some, or the rule is of no use."""
        nodes = [(unit, name) for name, units in self.owners.items() for unit in units
                 if self.names[name].startswith(begin)]
        if not nodes:
            problems.append(f'stack_rules.txt: no function begins with {begin}')
        return nodes

    def resolve(self, unit, name, classes):
        found = set()
        for callee in unit.calls[name]:
            found.update(self.find(unit, callee))
        for class_name, slot in unit.virtual[name]:
            for other, callee in classes.targets(class_name, slot):
                found.update(self.find(other, callee))
        for source in unit.pointers[name]:
            leads = [begin for known, begin in self.rules.pointers.items() if source.endswith(known)]
            if not leads:
                problems.append(f'stack_rules.txt does not know where pointers in {source} lead')
            found.update(node for begin in leads if begin for node in self.beginning_with(begin))
        return sorted(found, key=lambda node: node[1])

    def below(self, node, passed=()):
        """The deepest path from a function: its bytes, and what is on it.

        passed: the functions with a rule that the path has come by, each as often as it did.
        """
        name = self.names[node[1]]
        limits = self.rules.times.get(name, {})
        for (above, often), times in limits.items():
            if (not above or passed.count(above) >= often) and passed.count(name) >= times:
                return 0, []
        if ('', 1) in limits or (name in self.rules.watched and name not in passed):
            passed = tuple(sorted(passed + (name,)))
        if (node, passed) in self.open:
            around = [self.names[n] for (_, n), _ in self.open[self.open.index((node, passed)):]]
            problems.append('stack_rules.txt has no limit for one of: ' + ', '.join(around))
            return 0, []
        if (node, passed) not in self.deepest:
            self.open.append((node, passed))
            size, path = max((self.below(callee, passed) for callee in self.calls[node]),
                             key=lambda below: below[0], default=(0, []))
            self.open.pop()
            frame = node[0].frames[node[1]]
            self.deepest[node, passed] = frame + size, [(frame, name)] + path
        return self.deepest[node, passed]

    def entry(self, name):
        nodes = [(unit, known) for known, units in self.owners.items() for unit in units
                 if known == name or self.names[known] == 'VestaHbbTV::' + name]
        if not nodes:
            problems.append(f'there is no function {name}')
            return 0, []
        return max((self.below(node) for node in nodes), key=lambda path: path[0])


def entry_functions():
    """What a browser, a platform and an integrator call."""
    exports = (here.parent / 'tests/packaging/exports.txt').read_text()
    return sorted(set(re.findall(r'^(?:VestaHbbTV::)?((?:vesta_hbbtv|native)_\w+)', exports, re.M)))


def main():
    arguments = sys.argv[1:]
    with_paths = '--paths' in arguments
    arguments = [argument for argument in arguments if argument != '--paths']
    if not arguments:
        sys.exit(__doc__)
    sys.setrecursionlimit(100000)
    library = Library(arguments[0])
    for name in arguments[1:] or entry_functions():
        size, path = library.entry(name)
        print(size, name)
        if with_paths:
            for frame, function in path:
                print(f'  {frame:6} {function}')
    for problem in sorted(set(problems)):
        print(problem, file=sys.stderr)
    sys.exit(1 if problems else 0)


main()
