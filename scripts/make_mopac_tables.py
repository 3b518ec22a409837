#!/usr/bin/env python3
"""Writes src/mopac/tables.cpp, the library's one table of MOPAC knowledge,
from MOPAC's keyword list (a TSV of name, forms, prefix, kind) and the table
of the elements each method runs (a TSV of method and one column an
element: y, n or ?MESSAGE):

    scripts/make_mopac_tables.py ../shared/mopac-keywords.tsv ../shared/mopac-method-elements.tsv \
        > src/mopac/tables.cpp

The test mopac.tables_are_generated runs this script again and compares.
"""
import sys

# Facts of MOPAC that the two lists do not carry as columns.
# Methods: the keyword, and the Hamiltonian MOPAC runs for it. The "method"
# rows of the keyword list run themselves; PM5 is accepted and runs PM7 (the
# list's header says so); MINDO3 and MNDO-D are names older versions ran,
# which MOPAC 23 no longer runs but an edit of the method still removes.
EXTRA_METHODS = [('PM5', 'PM7'), ('MINDO3', ''), ('MNDO-D', '')]
# The spin states MOPAC names, by multiplicity (keywords SINGLET ... NONET).
SPIN_STATES = ['SINGLET', 'DOUBLET', 'TRIPLET', 'QUARTET', 'QUINTET', 'SEXTET', 'SEPTET', 'OCTET', 'NONET']
# Keywords that set up an active space, in which RHF describes open shells.
ACTIVE_SPACES = ['C.I.', 'OPEN', 'C.A.S.', 'C.I.D.', 'MRCI', 'CIS', 'CISD', 'CISDT']

# The electrons of each core (MOPAC's TORE: the s, p and d occupancies of the
# neutral atom, 3 for the lanthanides La-Lu), by atomic number 1-107: 98 is
# Mithril, 99 the dummy XX, 100-106 the sparkles +3, -3, Cb (a capped bond,
# one electron), ++, +, --, -, 107 Tv. A sparkle carries its charge as core
# electrons: with CHARGE= of the same size it adds none.
CORE_ELECTRONS = [
    1, 2,
    1, 2, 3, 4, 5, 6, 7, 8,
    1, 2, 3, 4, 5, 6, 7, 8,
    1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 2, 3, 4, 5, 6, 7, 8,
    1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 2, 3, 4, 5, 6, 7, 8,
    1, 2, 3, 3, 3, 3, 3, 3, 3, 3, 3, 3, 3, 3, 3, 3, 3, 4, 5, 6, 7, 8, 9, 10, 11, 2, 3, 4, 5, 6, 7, 8,
    1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 0,
    0, 3, -3, 1, 2, 1, -2, -1, 0]
# Keywords (prefixes of a word, as MOPAC tests them) that make MOPAC run MOZYME.
MOZYME_PREFIXES = ['MOZ', 'LEWIS', 'LOCATE-TS', 'LOCATE_TS', 'RESEQ', 'CHARGES', 'RAPID', 'SITE=(', 'PDBOUT']
# Keywords that INDO refuses, "<NAME> is incompatible with INDO", in the order
# MOPAC tests them (its first one found is the message); the spin states above
# QUARTET come first, as "Spin is incompatible with INDO".
INDO_REFUSES = ['FORCE', 'LOCATE_TS', 'MOZ', 'LEWIS', 'RESEQ', 'CHARGES', 'RAPID', 'SITE', 'PDBOUT', 'QMMM',
                'COMPAR', 'BZ', 'EXCI', 'VELO', 'ESR', 'NOMM', 'MMOK', 'CISDT', 'COSCCH', 'INVERT', 'ESP',
                'NSURF', 'SCINCR', 'SLOPE', 'NOTER', 'XENO', 'CHAINS', 'SETPI', 'PINOUT', 'REORTH',
                'RE-LOCAL', 'ADD_H', 'CONNOL', 'ESPRST', 'UHF', 'STATIC', 'POLAR', 'RESI', 'NOOPT', 'OPT', 'P=',
                'CUBE', 'ESPGRID', 'MICROS', 'OPEN', 'MS=', 'ROOT', 'STEP', 'MERS', 'POINT', 'IRC', 'DRC']
# Keywords only INDO runs, "<NAME> is only compatible with INDO", in MOPAC's order.
INDO_ONLY = ['C.I.D.', 'C.A.S.', 'MRCI', 'MAXCI', 'WRTCI', 'TDIP', 'WRTCONF']


def quote(text):
    return '"' + text.replace('\\', '\\\\').replace('"', '\\"') + '"'


rows = []
with open(sys.argv[1], encoding='utf-8') as table:
    for line in table:
        if line.startswith('#') or line.startswith('name\t') or not line.strip():
            continue
        name, forms, prefix, kind = (line.rstrip('\n').split('\t') + [''])[:4]
        name = '' if name == '-' else name
        forms = '' if forms == '-' else forms
        prefix = '' if prefix == '-' else prefix
        rows.append((name, forms, prefix, kind == 'method'))

out = []
out.append('// MOPAC knowledge as constant tables: the keywords MOPAC knows (name, the')
out.append('// forms it is written in, the prefixes by which its own keyword check')
out.append('// recognises a word), the methods and the Hamiltonian each runs, the spin')
out.append('// states, the active-space keywords, and the elements each method runs.')
out.append('// Made by scripts/make_mopac_tables.py from MOPAC\'s keyword list and its')
out.append('// observed element table; do not edit by hand. A prefix in double quotes')
out.append('// with a trailing blank must match the whole word, "|" separates several.')
out.append('#include "mopac/tables.hpp"')
out.append('')
out.append('namespace vesk::input::mopac::detail {')
out.append('')
out.append('const KeywordInfo keyword_table[] = {')
for name, forms, prefix, method in rows:
    out.append(f'    {{{quote(name)}, {quote(forms)}, {quote(prefix)}, {"true" if method else "false"}}},')
out.append('};')
out.append('const std::size_t keyword_table_size = sizeof keyword_table / sizeof keyword_table[0];')
out.append('')
out.append('const MethodName method_names[] = {')
for name, _, _, method in rows:
    if method:
        out.append(f'    {{{quote(name)}, {quote(name)}}},')
for name, runs in EXTRA_METHODS:
    out.append(f'    {{{quote(name)}, {quote(runs)}}},')
out.append('};')
out.append('const std::size_t method_names_size = sizeof method_names / sizeof method_names[0];')
out.append('')
out.append('const char* const spin_state_names[] = {' + ', '.join(quote(n) for n in SPIN_STATES) + '};')
out.append('const std::size_t spin_state_names_size = sizeof spin_state_names / sizeof spin_state_names[0];')
out.append('')
out.append('const char* const active_space_names[] = {' + ', '.join(quote(n) for n in ACTIVE_SPACES) + '};')
out.append('const std::size_t active_space_names_size = sizeof active_space_names / sizeof active_space_names[0];')
out.append('')

assert len(CORE_ELECTRONS) == 107
out.append('const signed char core_electrons[] = {0, ' + ', '.join(str(n) for n in CORE_ELECTRONS) + '};')
for name, values in (('mozyme_prefixes', MOZYME_PREFIXES), ('indo_refuses', INDO_REFUSES), ('indo_only', INDO_ONLY)):
    out.append(f'const char* const {name}[] = {{' + ', '.join(quote(n) for n in values) + '};')
    out.append(f'const std::size_t {name}_size = sizeof {name} / sizeof {name}[0];')
out.append('')

# One letter an element, 1-97: y runs, n stops for missing parameters,
# j and v stop with the other two messages MOPAC gives.
messages = {'JOB STOPPED. TO CONTINUE, SPECIFY': 'j', 'MISSING VAN DER WAALS RADIUS FOR ': 'v'}
out.append('const MethodElements method_elements[] = {')
with open(sys.argv[2], encoding='utf-8') as table:
    for line in table:
        if line.startswith('#') or line.startswith('method\t'):
            continue
        fields = line.rstrip('\n').split('\t')
        letters = ''.join(f if f in ('y', 'n') else messages[f[1:]] for f in fields[1:])
        assert len(letters) == 97, fields[0]
        out.append(f'    {{{quote(fields[0])}, {quote(letters)}}},')
out.append('};')
out.append('const std::size_t method_elements_size = sizeof method_elements / sizeof method_elements[0];')
out.append('')
out.append('}  // namespace vesk::input::mopac::detail')
print('\n'.join(out))
