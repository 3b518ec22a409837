#!/usr/bin/env python3
"""Writes src/check/keyword_table.cpp from MOPAC's keyword list (a TSV of
name, forms, prefix, kind) and the table of the elements each method runs
(a TSV of method and one column an element, y, n or ?MESSAGE), so that the
library carries both as constant tables:

    scripts/make_mopac_tables.py ../shared/mopac-keywords.tsv ../shared/mopac-method-elements.tsv \
        > src/check/keyword_table.cpp
"""
import sys


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

print('// The keywords MOPAC knows: name, the forms it is written in, the prefixes')
print("// by which MOPAC's own keyword check recognises a word, and whether it")
print('// selects a method; and the elements each method runs. Made by')
print('// scripts/make_mopac_tables.py from MOPAC\'s keyword list and its observed')
print('// element table; a prefix in double quotes with a trailing blank must match')
print('// the whole word, "|" separates several prefixes.')
print('#include "check/keyword_table.hpp"')
print()
print('namespace vesk::input::mopac::detail {')
print()
print('const KeywordInfo keyword_table[] = {')
for name, forms, prefix, method in rows:
    print(f'    {{{quote(name)}, {quote(forms)}, {quote(prefix)}, {"true" if method else "false"}}},')
print('};')
print()
print('const std::size_t keyword_table_size = sizeof keyword_table / sizeof keyword_table[0];')
print()

# One letter an element, 1-97: y runs, n stops for missing parameters,
# j and v stop with the other two messages MOPAC gives.
messages = {'JOB STOPPED. TO CONTINUE, SPECIFY': 'j', 'MISSING VAN DER WAALS RADIUS FOR ': 'v'}
print('const MethodElements method_elements[] = {')
with open(sys.argv[2], encoding='utf-8') as table:
    for line in table:
        if line.startswith('#') or line.startswith('method\t'):
            continue
        fields = line.rstrip('\n').split('\t')
        letters = ''.join(f if f in ('y', 'n') else messages[f[1:]] for f in fields[1:])
        assert len(letters) == 97, fields[0]
        print(f'    {{{quote(fields[0])}, {quote(letters)}}},')
print('};')
print()
print('const std::size_t method_elements_size = sizeof method_elements / sizeof method_elements[0];')
print()
print('}  // namespace vesk::input::mopac::detail')
