"""Office documents of examples/. `FILES` maps their names to their bytes, which are the same each
time."""

from importer_examples import archive

OPEN_XML = "http://schemas.openxmlformats.org/"
MAIN_RELATION = OPEN_XML + "officeDocument/2006/relationships/"
PACKAGE_RELATION = OPEN_XML + "package/2006/relationships/"

CORE = """<?xml version="1.0" encoding="UTF-8"?>
<cp:coreProperties xmlns:cp="http://schemas.openxmlformats.org/package/2006/metadata/core-properties"
 xmlns:dc="http://purl.org/dc/elements/1.1/" xmlns:dcterms="http://purl.org/dc/terms/">
<dc:title>%s</dc:title><dc:subject>Apples &amp; quinces</dc:subject>
<dc:creator>Anneliese Moor; Tom Weir</dc:creator><cp:lastModifiedBy>Tom Weir</cp:lastModifiedBy>
<cp:keywords>harvest, baskets</cp:keywords><dc:description>For the path keepers.</dc:description>
<dcterms:created>2024-03-05T08:12:45Z</dcterms:created>
<dcterms:modified>2024-03-06T10:00:00Z</dcterms:modified>
</cp:coreProperties>
"""

EXTENDED = """<?xml version="1.0" encoding="UTF-8"?>
<Properties xmlns="http://schemas.openxmlformats.org/officeDocument/2006/extended-properties">
<Application>make-examples</Application><Company>Valley Walks</Company>%s</Properties>
"""


def relations(*targets):
    """Of a part: kind and target of each; they are numbered r1, r2, ..."""
    entries = "".join('<Relationship Id="r%d" Type="%s" Target="%s"/>' % (number, kind, target)
                      for number, (kind, target) in enumerate(targets, 1))
    return '<Relationships xmlns="%spackage/2006/relationships">%s</Relationships>' % (
        OPEN_XML, entries)


def package(main, content_type, title, counts, parts):
    types = ('<Types xmlns="%spackage/2006/content-types">'
             '<Default Extension="rels"'
             ' ContentType="application/vnd.openxmlformats-package.relationships+xml"/>'
             '<Default Extension="xml" ContentType="application/xml"/>'
             '<Override PartName="/%s" ContentType="application/'
             'vnd.openxmlformats-officedocument.%s.main+xml"/></Types>' % (
                 OPEN_XML, main, content_type))
    return archive([
        ("[Content_Types].xml", types),
        ("_rels/.rels", relations((MAIN_RELATION + "officeDocument", main),
                                  (PACKAGE_RELATION + "metadata/core-properties",
                                   "docProps/core.xml"),
                                  (MAIN_RELATION + "extended-properties", "docProps/app.xml"))),
        ("docProps/core.xml", CORE % title),
        ("docProps/app.xml", EXTENDED % counts),
    ] + parts)


def letter():
    paragraphs = ["Dear path keepers,", "the quinces are ripe early this year.",
                  "Please bring baskets: four for the quinces, two for the apples."]
    body = "".join("<w:p><w:r><w:t>%s</w:t></w:r></w:p>" % text for text in paragraphs)
    document = '<w:document xmlns:w="%swordprocessingml/2006/main"><w:body>%s</w:body>' \
               "</w:document>" % (OPEN_XML, body)
    return package("word/document.xml", "wordprocessingml.document", "A letter about the harvest",
                   "<Pages>1</Pages>", [("word/document.xml", document)])


def sheets():
    main = 'xmlns="%sspreadsheetml/2006/main"' % OPEN_XML
    texts = ["Tree", "Baskets", "Quince", "Äpfel", "Ask for the <key> of the tower"]
    shared = "".join("<si><t>%s</t></si>" % text.replace("<", "&lt;") for text in texts)
    cell = lambda place, value, kind="n": '<c r="%s" t="%s"><v>%s</v></c>' % (place, kind, value)
    row = lambda number, *cells: '<row r="%d">%s</row>' % (number, "".join(cells))
    trees = "".join([row(1, cell("A1", 0, "s"), cell("B1", 1, "s")),
                     row(2, cell("A2", 2, "s"), cell("B2", 4)),
                     row(3, cell("A3", 3, "s"), cell("B3", "2.2999999999999998"))])
    sheet = lambda rows: "<worksheet %s><sheetData>%s</sheetData></worksheet>" % (main, rows)
    workbook = '<workbook %s xmlns:r="%s"><sheets><sheet name="Trees" sheetId="1" r:id="r1"/>' \
               '<sheet name="Errands" sheetId="2" r:id="r2"/></sheets></workbook>' % (
                   main, MAIN_RELATION[:-1])
    return package("xl/workbook.xml", "spreadsheetml.sheet", "Baskets to be filled", "", [
        ("xl/workbook.xml", workbook),
        ("xl/_rels/workbook.xml.rels", relations(
            (MAIN_RELATION + "worksheet", "worksheets/sheet1.xml"),
            (MAIN_RELATION + "worksheet", "worksheets/sheet2.xml"),
            (MAIN_RELATION + "sharedStrings", "sharedStrings.xml"))),
        ("xl/sharedStrings.xml", "<sst %s>%s</sst>" % (main, shared)),
        ("xl/worksheets/sheet1.xml", sheet(trees)),
        ("xl/worksheets/sheet2.xml", sheet(row(2, cell("B2", 4, "s")))),
    ])


def slides():
    spaces = 'xmlns:p="%spresentationml/2006/main" xmlns:a="%sdrawingml/2006/main" xmlns:r="%s"' % (
        OPEN_XML, OPEN_XML, MAIN_RELATION[:-1])

    def shape(kind, *lines):
        text = "".join("<a:p><a:r><a:t>%s</a:t></a:r></a:p>" % line for line in lines)
        return '<p:sp><p:nvSpPr><p:nvPr><p:ph type="%s"/></p:nvPr></p:nvSpPr>' \
               "<p:txBody>%s</p:txBody></p:sp>" % (kind, text)

    def page(name, *shapes):
        return "<p:%s %s><p:cSld><p:spTree>%s</p:spTree></p:cSld></p:%s>" % (
            name, spaces, "".join(shapes), name)

    presentation = '<p:presentation %s><p:sldIdLst><p:sldId id="256" r:id="r2"/>' \
                   '<p:sldId id="257" r:id="r1"/></p:sldIdLst></p:presentation>' % spaces
    return package("ppt/presentation.xml", "presentationml.presentation", "Walks in the valley", "", [
        ("ppt/presentation.xml", presentation),
        ("ppt/_rels/presentation.xml.rels", relations((MAIN_RELATION + "slide", "slides/end.xml"),
                                                      (MAIN_RELATION + "slide", "slides/start.xml"))),
        ("ppt/slides/start.xml", page("sld", shape("title", "The old mill"),
                                      shape("body", "A bridge of grey stone", "Willows"),
                                      shape("sldNum", "1"))),
        ("ppt/slides/_rels/start.xml.rels", relations(
            (MAIN_RELATION + "notesSlide", "../notesSlides/start.xml"))),
        ("ppt/notesSlides/start.xml", page("notes", shape("body", "Show the picture of the weir."),
                                           shape("sldNum", "1"))),
        ("ppt/slides/end.xml", page("sld", shape("title", "The way back"))),
    ])


def open_sheets():
    names = " ".join('xmlns:%s="urn:oasis:names:tc:opendocument:xmlns:%s:1.0"' % (name, name)
                     for name in ("office", "table", "text", "meta"))
    cell = "<table:table-cell><text:p>%s</text:p></table:table-cell>"
    row = lambda *texts: "<table:table-row>%s</table:table-row>" % "".join(
        cell % text for text in texts)
    content = '<office:document-content %s><office:body><office:spreadsheet>' \
              '<table:table table:name="Trees">%s%s</table:table>' \
              "</office:spreadsheet></office:body></office:document-content>" % (
                  names, row("Tree", "Baskets"), row("Quince", "4"))
    meta = '<office:document-meta %s xmlns:dc="http://purl.org/dc/elements/1.1/"><office:meta>' \
           "<dc:title>Baskets to be filled</dc:title>" \
           "<meta:initial-creator>Anneliese Moor</meta:initial-creator>" \
           "<meta:keyword>harvest</meta:keyword><meta:keyword>baskets</meta:keyword>" \
           "<meta:creation-date>2024-03-05T08:12:45Z</meta:creation-date>" \
           "<meta:generator>make-examples</meta:generator><dc:language>en-GB</dc:language>" \
           "</office:meta></office:document-meta>" % names
    return archive([("mimetype", "application/vnd.oasis.opendocument.spreadsheet"),
                    ("content.xml", content), ("meta.xml", meta)])


NOTE = r"""{\rtf1\ansi\ansicpg1252{\*\generator make-examples;}
{\info{\title A note for the miller}{\author Anneliese Moor}{\keywords mill, weir}
{\creatim\yr2024\mo3\dy5\hr9\min12}}
{\fonttbl{\f0\froman Times New Roman;}}\f0\fs24
The weir is open. {\b Please close all gates}, and greet the Sch\'e4fer.\par
}
"""


FILES = {
    "letter.docx": letter(),
    "baskets.xlsx": sheets(),
    "walks.pptx": slides(),
    "baskets.ods": open_sheets(),
    "note.rtf": NOTE.encode("ascii"),
}
