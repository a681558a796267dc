#!/usr/bin/python3
# Makes python-docx-brief.docx with python-docx 0.8.11 (Debian: python3-docx), as a script
# author would: paragraphs and runs from python-docx, bookmarks added as raw elements because
# python-docx has no bookmark API. Run from this folder: /usr/bin/python3 make-python-docx.py
from docx import Document
from docx.oxml import OxmlElement
from docx.oxml.ns import qn


def bookmark(paragraph, run, name, ident):
    start = OxmlElement('w:bookmarkStart')
    start.set(qn('w:id'), str(ident))
    start.set(qn('w:name'), name)
    end = OxmlElement('w:bookmarkEnd')
    end.set(qn('w:id'), str(ident))
    run._r.addprevious(start)
    run._r.addnext(end)


doc = Document()
doc.add_heading('Angebot', level=1)
p = doc.add_paragraph('An: ')
bookmark(p, p.add_run('Firma'), 'Firma', 1)
p = doc.add_paragraph()
r = p.add_run('Kunde')
r.bold = True
bookmark(p, r, 'Kunde', 2)
p.add_run(', wir danken für Ihre Anfrage.')
table = doc.add_table(rows=1, cols=2)
table.cell(0, 0).text = 'Preis'
cell = table.cell(0, 1).paragraphs[0]
bookmark(cell, cell.add_run('0,00 EUR'), 'Preis', 3)
doc.add_paragraph('Gruß')
doc.save('python-docx-brief.docx')
