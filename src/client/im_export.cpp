#include "client/im_export.h"

namespace corvy {

const RemoteInterface& CorvyImExport() {
    using enum RemoteType;
    static const RemoteInterface interface = {
        "/CorvyStackHelper",
        "org.corvystack.ImExport1",
        {
            {"PDFImageRepOfFile:", "PDFImageRepOfFile", {{"path", object}}, object},
            {"imageWithContentsOfFile:maxThumbnailSize:alwaysFromImage:stringFromPDF:"
             "canUseSpotlight:",
             "ImageWithContentsOfFileMaxThumbnailSizeAlwaysFromImageStringFromPDF"
             "CanUseSpotlight",
             {{"path", object},
              {"maxThumbnailSize", size},
              {"alwaysFromImage", flag},
              {"stringFromPDF", flag},
              {"canUseSpotlight", flag}},
             object},
            {"attributed:stringWithPDF:",
             "AttributedStringWithPDF",
             {{"attributed", flag}, {"pdf", object}},
             object},
            {"posterImageForMovieWithFile:",
             "PosterImageForMovieWithFile",
             {{"path", object}},
             object},
            {"attributedStringWithContentsOfFile:",
             "AttributedStringWithContentsOfFile",
             {{"path", object}},
             object},
            {"searchableTextOfWebArchive:",
             "SearchableTextOfWebArchive",
             {{"path", object}},
             object},
            {"writeRTFDData:toFile:",
             "WriteRTFDDataToFile",
             {{"rtfd", object}, {"path", object}},
             flag},
            {"RTFDWithHTML:baseURL:allowRemoteRequest:charset:",
             "RTFDWithHTMLBaseURLAllowRemoteRequestCharset",
             {{"html", object},
              {"baseURL", object},
              {"allowRemoteRequest", flag},
              {"charset", object}},
             object},
            {"metaDataForFile:", "MetaDataForFile", {{"path", object}}, object},
            {"supportsFile:", "SupportsFile", {{"path", object}}, flag},
        }};
    return interface;
}

}  // namespace corvy
