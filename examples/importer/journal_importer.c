/* An importer for journals: text files NAME.journal of lines "Key: value", an empty line, and what
 * was written that day.
 *
 *     Title: A walk
 *     Author: Jo
 *     Keywords: rain, hills
 *
 *     We went out early...
 */
#include <corvystack/importer.h>
#include <stdio.h>
#include <stdlib.h>

enum { LONGEST_JOURNAL = 16 * 1024 * 1024, MOST_KEYWORDS = 100 };

static char* ContentOfFile(const char* path) {
    FILE* file = fopen(path, "rb");
    if (!file) return NULL;
    char* content = malloc(LONGEST_JOURNAL + 1);
    if (content) content[fread(content, 1, LONGEST_JOURNAL, file)] = '\0';
    fclose(file);
    return content;
}

/* An attribute with several values is an array. */
static void SetKeywords(CorvyAttributes* attributes, char* list) {
    CorvyValue keywords[MOST_KEYWORDS];
    size_t count = 0;
    char* rest = NULL;
    for (char* word = strtok_r(list, ",", &rest); word && count < MOST_KEYWORDS;
         word = strtok_r(NULL, ",", &rest)) {
        word += strspn(word, " ");
        keywords[count].kind = CORVY_STRING;
        keywords[count].as.items.start = word;
        keywords[count].as.items.count = strlen(word);
        ++count;
    }
    CorvySetItems(attributes, "kMDItemKeywords", CORVY_ARRAY, keywords, count);
}

static void SetHeader(CorvyAttributes* attributes, char* line) {
    char* value = strchr(line, ':');
    if (!value) return;
    *value++ = '\0';
    value += strspn(value, " ");
    if (strcmp(line, "Title") == 0) CorvySetString(attributes, "kMDItemTitle", value);
    if (strcmp(line, "Author") == 0) {
        CorvyValue author = {.kind = CORVY_STRING, .as.items = {value, strlen(value)}};
        CorvySetItems(attributes, "kMDItemAuthors", CORVY_ARRAY, &author, 1);
    }
    if (strcmp(line, "Keywords") == 0) SetKeywords(attributes, value);
}

static bool ImportJournal(CorvyAttributes* attributes, const char* contentType, const char* path) {
    (void)contentType;
    char* content = ContentOfFile(path);
    if (!content) return false;
    char* body = strstr(content, "\n\n");
    if (body) {
        *body = '\0';
        CorvySetString(attributes, "kMDItemTextContent", body + 2);
    }
    char* rest = NULL;
    for (char* line = strtok_r(content, "\n", &rest); line; line = strtok_r(NULL, "\n", &rest)) {
        SetHeader(attributes, line);
    }
    free(content);
    return true;
}

CORVY_IMPORTER(CorvyImporterFactory, ImportJournal)
