#pragma once

#include "Measure.h"

#include <vector>

namespace tq::bench {

/// Calls from the page, small and large, against bare prompts that carry the same.
std::vector<Benchmark> pageCallBenchmarks();
/// Calls that do not stop the page, by the page half, against bare prompts.
std::vector<Benchmark> asyncCallBenchmarks();
/// The dispatch of a call alone, against the parsing and writing of its JSON.
std::vector<Benchmark> dispatchBenchmarks();
/// Streams of results, against one script that brings the page the same.
std::vector<Benchmark> streamBenchmarks();
/// Results escaped as little as can be, against the escaping of addresses.
std::vector<Benchmark> escapeBenchmarks();
/// Calls of page functions, against a bare evaluation and the prompt that answers it.
std::vector<Benchmark> nativeCallBenchmarks();
/// From the making of a view to its page's first call, against a bare view.
std::vector<Benchmark> startBenchmarks();
/// Joins with a cold and a warm cache, against the same requests alone.
std::vector<Benchmark> joinBenchmarks();
/// The memory of an idle view, against that of a bare one.
std::vector<Benchmark> memoryBenchmarks();

} // namespace tq::bench
