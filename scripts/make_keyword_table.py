#!/usr/bin/env python3
"""Writes src/check/keyword_table.cpp from the MOPAC keyword list (a TSV of
name, forms, prefix, kind), so that the library carries it as a constant table:

    scripts/make_keyword_table.py ../shared/mopac-keywords.tsv > src/check/keyword_table.cpp
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
print('// selects a method. Made by scripts/make_keyword_table.py from MOPAC\'s')
print('// keyword list; a prefix in double quotes with a trailing blank must match')
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
print('}  // namespace vesk::input::mopac::detail')
