#pragma once

#include "Measure.h"

#include <vector>

namespace tq::bench {

/// Calls from the page, small and large, against bare prompts that carry the same.
std::vector<Figure> pageCallFigures();
/// The dispatch of a call alone, against the parsing and writing of its JSON.
std::vector<Figure> dispatchFigures();
/// Streams of results, against one script that brings the page the same.
std::vector<Figure> streamFigures();
/// Results escaped as little as can be, against the escaping of addresses.
std::vector<Figure> escapeFigures();
/// Calls of page functions, against a bare evaluation and the prompt that answers it.
std::vector<Figure> nativeCallFigures();
/// From the making of a view to its page's first call, against a bare view.
std::vector<Figure> startFigures();
/// Joins with a cold and a warm cache, against the same requests alone.
std::vector<Figure> joinFigures();
/// The memory of an idle view, against that of a bare one.
std::vector<Figure> memoryFigures();

} // namespace tq::bench
