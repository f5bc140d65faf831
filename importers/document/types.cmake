# Documents of office programs, old and new, and rich text.
set(document_types
    com.apple.rtfd com.microsoft.excel.xla com.microsoft.excel.xls com.microsoft.excel.xlt
    com.microsoft.powerpoint.pot com.microsoft.powerpoint.pps com.microsoft.powerpoint.ppt
    com.microsoft.word.doc com.microsoft.word.dot com.microsoft.word.wordml
    org.oasis-open.opendocument.graphics org.oasis-open.opendocument.graphics-template
    org.oasis-open.opendocument.presentation org.oasis-open.opendocument.presentation-template
    org.oasis-open.opendocument.spreadsheet org.oasis-open.opendocument.spreadsheet-template
    org.oasis-open.opendocument.text org.oasis-open.opendocument.text-master
    org.oasis-open.opendocument.text-template
    org.openxmlformats.presentationml.presentation
    org.openxmlformats.presentationml.presentation.macroenabled
    org.openxmlformats.presentationml.slideshow
    org.openxmlformats.presentationml.slideshow.macroenabled
    org.openxmlformats.presentationml.template
    org.openxmlformats.presentationml.template.macroenabled
    org.openxmlformats.spreadsheetml.sheet org.openxmlformats.spreadsheetml.sheet.macroenabled
    org.openxmlformats.spreadsheetml.template
    org.openxmlformats.spreadsheetml.template.macroenabled
    org.openxmlformats.wordprocessingml.document
    org.openxmlformats.wordprocessingml.document.macroenabled
    org.openxmlformats.wordprocessingml.template
    org.openxmlformats.wordprocessingml.template.macroenabled
    public.rtf
    # An .rtfd that is a file and not a folder.
    dyn.ah62d4rv4ge81e7dgqu)
