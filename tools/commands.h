// The commands, one declaration each; the table in main.cpp names them.
#pragma once

namespace corvy::tools {

// search_commands.cpp
int indexCommand(int argc, char** argv);
int searchCommand(int argc, char** argv);
// report_command.cpp
int reportCommand(int argc, char** argv);
// service_commands.cpp
int serveCommand(int argc, char** argv);
int statusCommand(int argc, char** argv);
int importersCommand(int argc, char** argv);
int metadataCommand(int argc, char** argv);
int supportsCommand(int argc, char** argv);
// call_command.cpp
int callCommand(int argc, char** argv);
// import_command.cpp
int importCommand(int argc, char** argv);
// pdf_commands.cpp
int pdfCommand(int argc, char** argv);
// thumbnail_command.cpp
int thumbnailCommand(int argc, char** argv);
// rtfd_command.cpp
int rtfdCommand(int argc, char** argv);
// web_archive_command.cpp
int webArchiveCommand(int argc, char** argv);
// html_commands.cpp
int htmlCommand(int argc, char** argv);
// poster_command.cpp
int posterCommand(int argc, char** argv);
// plain_text_commands.cpp
int textCommand(int argc, char** argv);
int errorPageCommand(int argc, char** argv);
// text_commands.cpp
int entitiesCommand(int argc, char** argv);
int charsetCommand(int argc, char** argv);
int toolkitCommand(int argc, char** argv);
// feed_command.cpp
int feedCommand(int argc, char** argv);
// key_commands.cpp
int dateCommand(int argc, char** argv);
int urlCommand(int argc, char** argv);
int rsrcCommand(int argc, char** argv);

}  // namespace corvy::tools
