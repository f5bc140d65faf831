// Dates, one form a benchmark. Each but the last has a pattern of its own; time is that of one
// date.
#include <benchmark/benchmark.h>

#include <string>

#include "foundation/date.h"

namespace corvy {
namespace {

void readDate(benchmark::State& state, const char16_t* text) {
    const std::u16string input = text;
    for (auto _ : state) benchmark::DoNotOptimize(date(input));
}
BENCHMARK_CAPTURE(readDate, http, u"Thu, 15 Jan 2009 10:20:30 GMT");
BENCHMARK_CAPTURE(readDate, german_month, u"Thu, 15 Dez 2009 10:20:30 GMT");
BENCHMARK_CAPTURE(readDate, old_http, u"Thursday, 15-Jan-09 10:20:30 GMT");
BENCHMARK_CAPTURE(readDate, calendar_local, u"Thu Jan 15 10:20:30 2009");
BENCHMARK_CAPTURE(readDate, digits_local, u"20090115");
BENCHMARK_CAPTURE(readDate, dots_local, u"15.01.2009 10:20:30");
BENCHMARK_CAPTURE(readDate, standard_offset, u"2009-01-15T10:20:30+01:00");
BENCHMARK_CAPTURE(readDate, standard_utc_lenient, u"2003-12-13T18:30:02Z");
BENCHMARK_CAPTURE(readDate, words_lenient, u"Thursday, October 6, 2022 - 10:43 AM");

void readHeader(benchmark::State& state) {
    const std::u16string input = u"Thu, 15 Jan 2009 10:20:30 GMT";
    for (auto _ : state) benchmark::DoNotOptimize(dateFromHTTPHeaderValue(input));
}
BENCHMARK(readHeader);

}  // namespace
}  // namespace corvy

BENCHMARK_MAIN();
