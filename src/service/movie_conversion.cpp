#include "service/movie_conversion.h"

#include <utility>

#include "foundation/size_string.h"
#include "foundation/system_log.h"

namespace corvy {

namespace {

// Longer than the worker gives itself, and no longer than a client waits.
constexpr double kMostSeconds = 14;

const Dictionary* dictionaryAt(const Dictionary& dictionary, std::u16string_view key) {
    const PropertyList* value = dictionary.find(key);
    return value ? value->dictionary() : nullptr;
}

// What a worker said before it ended, well or not.
struct WorkerAnswer {
    Dictionary attributes;
    std::optional<PropertyList> thumbnail;
};

WorkerAnswer askWorker(std::u16string_view path, const MovieConversionContext& context) {
    WorkerAnswer answer;
    bool isLoading = true;
    const double start = context.clock();
    platform::WorkerRequest request;
    request.family = movie_exchange::kFamily;
    request.operation = movie_exchange::kThumbnail;
    request.arguments.set(movie_exchange::kPath, path);
    request.limits.cpuSeconds = kMostSeconds;
    request.limits.wallSeconds = kMostSeconds;
    request.runsContext = true;
    request.runsContextWhile = [&] {
        return isLoading && context.clock() - start < kMovieLoadTime;
    };
    const auto takeAttributes = [&answer](const Dictionary& from) {
        const Dictionary* attributes = dictionaryAt(from, movie_exchange::kAttributes);
        if (attributes) answer.attributes = *attributes;
        return attributes != nullptr;
    };
    request.part = [&](const PropertyList& part) {
        const Dictionary* said = part.dictionary();
        if (!said) return;
        if (const auto line = stringOf(*said, movie_exchange::kLog)) systemLog(*line);
        if (takeAttributes(*said)) isLoading = false;
    };
    const auto result = context.runWorker(request);
    if (!result || !result->dictionary()) return answer;
    takeAttributes(*result->dictionary());
    const PropertyList* tiff = result->dictionary()->find(movie_exchange::kTiff);
    if (tiff && tiff->bytes()) answer.thumbnail = *tiff;
    return answer;
}

}  // namespace

Dictionary posterImageForMovieWithFile(std::u16string_view path,
                                       const MovieConversionContext& context) {
    WorkerAnswer answer = askWorker(path, context);
    const PropertyList* duration = answer.attributes.find(u"QTMovieDurationAttribute");
    const double seconds = duration ? duration->number().value_or(0) : 0;
    const auto size = stringOf(answer.attributes, u"QTMovieNaturalSizeAttribute");
    Dictionary result{{u"Duration", static_cast<float>(seconds)},
                      {u"Size", size ? *size : sizeString(Size{})}};
    if (answer.thumbnail) result.set(u"Thumbnail", *std::move(answer.thumbnail));
    return result;
}

}  // namespace corvy
