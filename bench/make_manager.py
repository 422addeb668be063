#!/usr/bin/env python3
"""Writes a large manager's XML files into an installation directory.

    make_manager.py DIR NAME FORMS LISTS

DIR/etc/xml/NAME.xml and NAME_msg_{en,ru}.xml describe FORMS forms and LISTS
lists with pages, fields, check boxes, columns, colours and toolbars, plus a
main menu, a common section and includes. About one object in twenty carries
a defect, so every audit has something to report. The output depends only
on the arguments.
"""
import os
import sys
from xml.sax.saxutils import escape

FIELDS_PER_FORM = 8
COLUMNS_PER_LIST = 6


def form_xml(i):
    name = f"form{i}"
    out = [f'  <metadata name="{name}" type="form">', '    <form>']
    # The first half of the fields stands directly in the form, the second
    # half inside a page: the audits treat the two places differently.
    for p in range(2):
        indent = '      ' if p == 0 else '        '
        if p == 1:
            out.append('      <page name="page1">')
        for f in range(FIELDS_PER_FORM // 2):
            field = f"f{i}_{p}_{f}"
            if f == 0:
                out.append(f'{indent}<field name="{field}"><input type="checkbox" name="{field}"/>'
                           f'<desc name="{field}_desc"/></field>')
            elif f == 1:
                check = '' if i % 20 == 0 else ' check="int"'
                out.append(f'{indent}<field name="{field}"><input type="text" name="{field}"{check}/></field>')
            else:
                out.append(f'{indent}<field name="{field}"><input type="text" name="{field}" check="any"/></field>')
        if p == 1:
            out.append('      </page>')
    out += ['    </form>', '  </metadata>']
    return out


def list_xml(i):
    name = f"list{i}"
    out = [f'  <metadata name="{name}" type="list">', '    <coldata>']
    for c in range(COLUMNS_PER_LIST):
        col = f"c{i}_{c}"
        if c == 0:
            color = "magenta" if i % 20 == 0 else "red"
            out.append(f'      <col name="{col}" type="msg"><setcolor name="{col}" color="green"/>'
                       f'<setcolor color="{color}"/></col>')
        else:
            out.append(f'      <col name="{col}" type="data"><prop name="size{c}"/></col>')
    out.append('    </coldata>')
    out.append('    <toolbar>')
    for b in ("edit", "delete", "back"):
        out.append(f'      <toolbtn name="{b}" func="{name}.{b}"/>')
    out += ['    </toolbar>', '  </metadata>']
    return out


def main_xml(forms, lists):
    out = ['<?xml version="1.0" encoding="UTF-8"?>', '<pnldata>', '  <mainmenu>']
    # A menu of ten groups that lead to one form in ten, as real menus
    # lead to the main forms only.
    for g in range(10):
        out.append(f'    <node name="group{g}">')
        for i in range(g, forms, 10):
            if i % 100 < 20:
                out.append(f'      <node name="form{i}"/>')
        out.append('    </node>')
    out.append('  </mainmenu>')
    for i in range(forms):
        out += form_xml(i)
    for i in range(lists):
        out += list_xml(i)
    out.append('</pnldata>')
    return "\n".join(out) + "\n"


def msg(name, text):
    return f'      <msg name="{name}">{escape(text)}</msg>'


def messages_xml(lang, forms, lists):
    word = {"en": "Value", "ru": "Значение"}[lang]
    out = ['<?xml version="1.0" encoding="UTF-8"?>', '<pnldata>', f'  <lang name="{lang}">']
    out.append('    <messages name="common">')
    out += [msg("yes", "Yes"), msg("no", "No")]
    out.append('    </messages>')
    out.append('    <messages name="desktop">')
    for g in range(10):
        out.append(msg(f"menu_group{g}", f"Group {g}"))
    for i in range(forms):
        if i % 20 != 7:
            out.append(msg(f"menu_form{i}", f"Form {i}"))
    out.append('    </messages>')
    for i in range(forms):
        out.append(f'    <messages name="form{i}">')
        if i % 20 != 3:
            out.append(msg("title", f"Form {i}"))
        out.append('      <include name="common"/>')
        for p in range(2):
            for f in range(FIELDS_PER_FORM // 2):
                field = f"f{i}_{p}_{f}"
                if f == 0:
                    out.append(msg(f"{field}_desc", f"Enable {field}"))
                    continue
                out.append(msg(field, f"{word} {field}"))
                if not (i % 20 == 5 and f == 2):
                    out.append(msg(f"hint_{field}", f"Hint for {field}"))
        if i % 20 == 9:
            out.append(msg("orphan_message", "Nobody uses me"))
        out.append('    </messages>')
    for i in range(lists):
        out.append(f'    <messages name="list{i}">')
        out.append(msg("title", f"List {i}"))
        for c in range(COLUMNS_PER_LIST):
            col = f"c{i}_{c}"
            out.append(msg(col, f"Column {c}"))
            if c != 2 or i % 20 != 11:
                out.append(msg(f"hint_{col}", f"Hint column {c}"))
        for b in ("edit", "delete", "back"):
            out.append(msg(f"short_{b}", b.capitalize()))
            out.append(msg(f"hint_{b}", f"{b} the record"))
        out.append('    </messages>')
    out += ['  </lang>', '</pnldata>']
    return "\n".join(out) + "\n"


def main():
    if len(sys.argv) != 5:
        sys.exit(__doc__)
    root, name, forms, lists = sys.argv[1], sys.argv[2], int(sys.argv[3]), int(sys.argv[4])
    xml_dir = os.path.join(root, "etc", "xml")
    os.makedirs(xml_dir, exist_ok=True)
    with open(os.path.join(xml_dir, f"{name}.xml"), "w", encoding="utf-8") as f:
        f.write(main_xml(forms, lists))
    for lang in ("en", "ru"):
        with open(os.path.join(xml_dir, f"{name}_msg_{lang}.xml"), "w", encoding="utf-8") as f:
            f.write(messages_xml(lang, forms, lists))


if __name__ == "__main__":
    main()
