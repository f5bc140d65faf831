// corvystack entities, charset and toolkit.
#include <CLI/CLI.hpp>
#include <iostream>
#include <string>
#include <vector>

#include "foundation/text.h"
#include "markup/charset_names.h"
#include "markup/entities.h"
#include "markup/markup_charset.h"
#include "tools/arguments.h"
#include "tools/command.h"
#include "tools/commands.h"
#include "tools/files.h"
#include "tools/markup/input.h"
#include "tools/toolkit/toolkit_bridge.h"

namespace corvy::tools {

namespace {

// What the bytes of a page say of their encoding: its declaration, else whether they are UTF-8.
int detectCharset(const std::string& file) {
    const FileContents contents = readFile(file);
    if (contents.error != 0) {
        complain(file + ": " + reasonOf(contents.error));
        return kFailed;
    }
    const std::string_view bytes = contents.bytes.chars();
    // The declaration is ASCII: each byte as one unit shows it.
    const std::u16string units(reinterpret_cast<const unsigned char*>(bytes.data()),
                               reinterpret_cast<const unsigned char*>(bytes.data()) + bytes.size());
    Encoding encoding = markupEncoding(units);
    if (encoding == Encoding::kInvalid && fromStrictUtf8(bytes)) encoding = Encoding::kUTF8;
    if (encoding == Encoding::kInvalid) {
        complain(file + ": names no character set that is known, and is not UTF-8");
        return kFailed;
    }
    print(std::string(nameOfEncoding(encoding)) + "\n");
    return kDone;
}

int decodeFile(const MarkupInput& input) {
    const auto text = readMarkup(input);
    if (!text) return kFailed;
    print(toUtf8(*text));
    return kDone;
}

int nameCharsets(const std::vector<std::string>& names) {
    int status = kDone;
    for (const std::string& name : names) {
        const Encoding encoding = CFEncodingFromName(fromUtf8(name));
        if (encoding == Encoding::kInvalid) {
            complain("no character set " + name);
            status = kFailed;
        } else {
            print(std::string(nameOfEncoding(encoding)) + "\n");
        }
    }
    return status;
}

}  // namespace

int entitiesCommand(int argc, char** argv) {
    CLI::App app("Character references of markup, in UTF-8 text.", "corvystack entities");
    app.require_subcommand(1);
    MarkupInput input{.plain = true};
    bool standard = false, numeric = false, keepMarkup = false, nonUmlauted = false;
    bool high = false, json = false;
    auto* decode = app.add_subcommand("decode", "references into characters");
    decode->add_flag("--standard", standard, "only &quot; &amp; &lt; and &gt;");
    decode->add_flag("--numeric", numeric, "of the named ones only those of markup");
    decode->add_flag("--keep-markup", keepMarkup, "leave references for \" & < and >");
    decode->add_flag("--no-accents", nonUmlauted, "letters without their accents");
    auto* encode = app.add_subcommand("encode", "characters outside ASCII into references");
    auto* how = encode->add_option_group("instead");
    how->require_option(0, 1);
    how->add_flag("--standard", standard, "only \" & < and >");
    how->add_flag("--numbers", high, "numbers instead of names");
    how->add_flag("--json", json, "escapes of JSON strings");
    for (CLI::App* command : {decode, encode}) {
        command->add_option("FILE", input.file, "the text; - or none for standard input");
    }
    if (const Parsed parsed = parseArguments(app, argc, argv); parsed.ended) return parsed.status;
    const auto text = readMarkup(input);
    if (!text) return kFailed;
    std::u16string result;
    if (decode->parsed()) {
        result = standard ? stringByConvertingStandardEntitiesToCharacters(*text)
                          : stringByConvertingEntitiesToCharacters(
                                *text, {!keepMarkup, numeric, nonUmlauted});
    } else {
        result = standard ? stringByConvertingCharactersToStandardEntities(*text)
                 : high   ? stringByConvertingHighCharactersToEntities(*text)
                 : json   ? stringByConvertingCharactersToJSON(*text)
                          : stringByConvertingCharactersToEntities(*text);
    }
    print(toUtf8(result));
    return kDone;
}

int charsetCommand(int argc, char** argv) {
    CLI::App app("Character sets of markup.", "corvystack charset");
    app.require_subcommand(1);
    MarkupInput input;
    std::vector<std::string> names;
    auto* detect = app.add_subcommand("detect", "print the character set that a page names");
    auto* decode = app.add_subcommand("decode", "print a page as UTF-8");
    decode->add_option("--charset", input.charset, "as if declared by the server")
        ->type_name("NAME");
    auto* name = app.add_subcommand("name", "print the proper names of character sets");
    name->add_option("NAME", names, "names as they are met")->required();
    for (CLI::App* command : {detect, decode}) {
        command->add_option("FILE", input.file, "the page; - for standard input")->required();
    }
    if (const Parsed parsed = parseArguments(app, argc, argv); parsed.ended) return parsed.status;
    if (detect->parsed()) return detectCharset(input.file);
    return name->parsed() ? nameCharsets(names) : decodeFile(input);
}

int toolkitCommand(int argc, char** argv) {
    CLI::App app(
        "Calls operations of the toolkit: a JSON request on each line of standard input, "
        "a reply on each line of standard output.",
        "corvystack toolkit");
    if (const Parsed parsed = parseArguments(app, argc, argv); parsed.ended) return parsed.status;
    std::ios::sync_with_stdio(false);
    runToolkitBridge(std::cin, std::cout);
    return std::cout ? kDone : kFailed;
}

}  // namespace corvy::tools
