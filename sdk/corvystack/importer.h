/* Importers: plug-ins that tell the attributes and the text of files to CorvyStack.
 *
 * An importer is a bundle, a folder NAME.mdimporter:
 *
 *     NAME.mdimporter/Contents/Info.plist   what it reads, and its factories
 *     NAME.mdimporter/Contents/Linux/NAME   a shared object
 *
 * The entry CFBundleDocumentTypes of Info.plist lists the content types; CFPlugInTypes leads from
 * CORVY_IMPORTER_TYPE to identifiers of factories, and CFPlugInFactories from those to names of
 * functions of the form CorvyFactory. A factory makes an instance; the instance is asked for the
 * interface CORVY_IMPORTER_INTERFACE; that one's ImportData fills a dictionary. CORVY_IMPORTER, at
 * the end, writes all of it around one function, and the CMake function corvystack_importer() makes
 * the bundle.
 *
 * An importer runs in a process of its own, one for each file, forked from a process that has
 * loaded it. It may crash, hang (about ten seconds), leave memory behind or throw: what it set
 * before counts. There is no network, and what it prints to standard output is lost. It must not
 * start threads while it is loaded.
 */
#ifndef CORVYSTACK_IMPORTER_H
#define CORVYSTACK_IMPORTER_H

#include <stdbool.h>
#include <stddef.h>
#include <stdint.h>
#include <string.h>

#ifdef __cplusplus
extern "C" {
#endif

#define CORVY_EXPORT __attribute__((visibility("default")))

/* In the order in which the text form has them. */
typedef struct CorvyUUID {
    uint8_t bytes[16];
} CorvyUUID;

/* 8B08C4BF-415B-11D8-B3F9-0003936726FC: plug-ins that are importers. */
static const CorvyUUID CORVY_IMPORTER_TYPE = {{0x8B, 0x08, 0xC4, 0xBF, 0x41, 0x5B, 0x11, 0xD8, 0xB3,
                                               0xF9, 0x00, 0x03, 0x93, 0x67, 0x26, 0xFC}};
/* 6EBC27C4-899C-11D8-84AE-0003936726FC: the interface below. */
static const CorvyUUID CORVY_IMPORTER_INTERFACE = {{0x6E, 0xBC, 0x27, 0xC4, 0x89, 0x9C, 0x11, 0xD8,
                                                    0x84, 0xAE, 0x00, 0x03, 0x93, 0x67, 0x26,
                                                    0xFC}};
/* 00000000-0000-0000-C000-000000000046: what every instance answers to. */
static const CorvyUUID CORVY_UNKNOWN_INTERFACE = {{0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00,
                                                   0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46}};

typedef enum CorvyKind {
    CORVY_NULL = 0, /* no value: the key is there, but callers do not see it */
    CORVY_BOOLEAN,
    CORVY_INTEGER,
    CORVY_REAL,     /* finite */
    CORVY_STRING,   /* UTF-8; ill-formed parts become U+FFFD */
    CORVY_STRING16, /* UTF-16, native byte order */
    CORVY_DATE,     /* `real`: seconds since 1970-01-01T00:00:00Z, finite */
    CORVY_BYTES,
    CORVY_ARRAY,     /* of CorvyValue */
    CORVY_DICTIONARY /* of CorvyEntry */
} CorvyKind;

/* A value as it lies in the importer's memory; it is copied when it is set. */
typedef struct CorvyValue {
    uint32_t kind; /* a CorvyKind */
    union {
        uint8_t boolean; /* 0 is false */
        int64_t integer;
        double real;
        struct {
            const void* start; /* of bytes, UTF-16 units, values or entries */
            size_t count;      /* of the same */
        } items;
    } as;
} CorvyValue;

typedef struct CorvyEntry {
    const char* key; /* UTF-8 */
    CorvyValue value;
} CorvyEntry;

typedef struct CorvyAttributes CorvyAttributes;

typedef struct CorvyAttributeFunctions {
    size_t size; /* of this table; later versions may have more behind */
    /* Sets a copy of the value, in place of an earlier one. What is set has been told, whatever
     * happens afterwards. False, and nothing changes, for values nested deeper than 16; for
     * numbers that are not finite, kinds that do not exist, and null pointers; and when the
     * attributes of the file became more than a message can hold: 500,000 values, 16 texts or
     * bytes of 1 MiB and more, 16 MiB of keys and shorter ones (a UTF-16 unit counting 3 bytes). */
    bool (*set)(CorvyAttributes* attributes, const char* key, const CorvyValue* value);
    /* False when the key was not there. */
    bool (*remove)(CorvyAttributes* attributes, const char* key);
    bool (*contains)(CorvyAttributes* attributes, const char* key);
} CorvyAttributeFunctions;

struct CorvyAttributes {
    const CorvyAttributeFunctions* functions;
};

/* An instance is a pointer to a pointer to such a table, and so is `self`. */
typedef struct CorvyImporterInterface {
    void* reserved;
    /* Stores an interface of the instance, with a reference, or null. 0 is success. */
    int32_t (*QueryInterface)(void* self, CorvyUUID interface, void** out);
    uint32_t (*AddRef)(void* self);
    uint32_t (*Release)(void* self);
    /* `contentType` is a uniform type identifier in lower case, `path` the bytes of the file's
     * path. Nobody looks at the result. */
    bool (*ImportData)(void* self, CorvyAttributes* attributes, const char* contentType,
                       const char* path);
} CorvyImporterInterface;

/* Makes an instance with one reference, or null for a type that it does not know. `allocator` is
 * null. */
typedef void* (*CorvyFactory)(const void* allocator, const CorvyUUID* type);

/* A plug-in whose Info.plist sets CFPlugInDynamicRegistration is loaded at once, and its function
 * CFPlugInDynamicRegisterFunction (CFPlugInDynamicRegister when it names none), of the form
 * void (*)(CorvyPlugIn *), registers factories and what they make. Importers that are to be found
 * do not do so. */
typedef struct CorvyPlugIn CorvyPlugIn;

typedef struct CorvyPlugInFunctions {
    size_t size; /* of this table */
    bool (*registerFactory)(CorvyPlugIn* plugIn, const CorvyUUID* factory, CorvyFactory function);
    bool (*registerType)(CorvyPlugIn* plugIn, const CorvyUUID* factory, const CorvyUUID* type);
} CorvyPlugInFunctions;

struct CorvyPlugIn {
    const CorvyPlugInFunctions* functions;
};

static inline bool CorvySetItems(CorvyAttributes* attributes, const char* key, CorvyKind kind,
                                 const void* start, size_t count) {
    CorvyValue value;
    value.kind = kind;
    value.as.items.start = start;
    value.as.items.count = count;
    return attributes->functions->set(attributes, key, &value);
}

static inline bool CorvySetString(CorvyAttributes* attributes, const char* key, const char* text) {
    return CorvySetItems(attributes, key, CORVY_STRING, text, text ? strlen(text) : 0);
}

static inline bool CorvySetInteger(CorvyAttributes* attributes, const char* key, int64_t number) {
    CorvyValue value;
    value.kind = CORVY_INTEGER;
    value.as.integer = number;
    return attributes->functions->set(attributes, key, &value);
}

static inline bool CorvySetReal(CorvyAttributes* attributes, const char* key, double number) {
    CorvyValue value;
    value.kind = CORVY_REAL;
    value.as.real = number;
    return attributes->functions->set(attributes, key, &value);
}

static inline bool CorvySetBoolean(CorvyAttributes* attributes, const char* key, bool flag) {
    CorvyValue value;
    value.kind = CORVY_BOOLEAN;
    value.as.boolean = flag;
    return attributes->functions->set(attributes, key, &value);
}

/* Seconds since 1970-01-01T00:00:00Z. */
static inline bool CorvySetDate(CorvyAttributes* attributes, const char* key, double seconds) {
    CorvyValue value;
    value.kind = CORVY_DATE;
    value.as.real = seconds;
    return attributes->functions->set(attributes, key, &value);
}

static inline bool CorvySameUUID(const CorvyUUID* a, const CorvyUUID* b) {
    return memcmp(a, b, sizeof *a) == 0;
}

#ifdef __cplusplus
}
#define CORVY_EXTERN_C extern "C"
#else
#define CORVY_EXTERN_C
#endif

/* Defines the factory `name` of an importer that is the function
 *     bool import(CorvyAttributes *attributes, const char *contentType, const char *path)
 * Once in a source file. */
#define CORVY_IMPORTER(name, import)                                                           \
    static uint32_t name##References = 0;                                                      \
    static uint32_t name##AddRef(void* self) {                                                 \
        (void)self;                                                                            \
        return ++name##References;                                                             \
    }                                                                                          \
    static uint32_t name##Release(void* self) {                                                \
        (void)self;                                                                            \
        return name##References > 0 ? --name##References : 0;                                  \
    }                                                                                          \
    static int32_t name##Query(void* self, CorvyUUID interface, void** out) {                  \
        const bool known = CorvySameUUID(&interface, &CORVY_IMPORTER_INTERFACE) ||             \
                           CorvySameUUID(&interface, &CORVY_UNKNOWN_INTERFACE);                \
        *out = known ? self : NULL;                                                            \
        if (known) name##AddRef(self);                                                         \
        return known ? 0 : (int32_t)0x80000004;                                                \
    }                                                                                          \
    static bool name##Import(void* self, CorvyAttributes* attributes, const char* contentType, \
                             const char* path) {                                               \
        (void)self;                                                                            \
        return import(attributes, contentType, path);                                          \
    }                                                                                          \
    static const CorvyImporterInterface name##Table = {NULL, name##Query, name##AddRef,        \
                                                       name##Release, name##Import};           \
    static const CorvyImporterInterface* const name##Instance = &name##Table;                  \
    CORVY_EXTERN_C CORVY_EXPORT void* name(const void* allocator, const CorvyUUID* type);      \
    CORVY_EXTERN_C CORVY_EXPORT void* name(const void* allocator, const CorvyUUID* type) {     \
        (void)allocator;                                                                       \
        if (!CorvySameUUID(type, &CORVY_IMPORTER_TYPE)) return NULL;                           \
        ++name##References;                                                                    \
        return (void*)&name##Instance;                                                         \
    }

#endif
