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
