#!/usr/bin/python3
# Makes elementtree-utf16.docx from pandoc-brief.docx the way a Python script that edits a
# document with xml.etree.ElementTree writes it back: every namespace gets the prefix ns0,
# ns1, ... (or none), and the main part and the content types are written in UTF-16.
# Run from this folder: /usr/bin/python3 make-elementtree.py
import zipfile
import xml.etree.ElementTree as ET

W = '{http://schemas.openxmlformats.org/wordprocessingml/2006/main}'
with zipfile.ZipFile('pandoc-brief.docx') as source, \
        zipfile.ZipFile('elementtree-utf16.docx', 'w', zipfile.ZIP_DEFLATED) as target:
    for item in source.infolist():
        data = source.read(item.filename)
        if item.filename in ('word/document.xml', '[Content_Types].xml'):
            root = ET.fromstring(data)
            for t in root.iter(W + 't'):
                if t.text == 'Kundenname':
                    t.text = 'Kundenname (geändert)'
            data = ET.tostring(root, encoding='UTF-16', xml_declaration=True)
        target.writestr(item, data)
