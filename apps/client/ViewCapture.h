#pragma once

#include "GLibTypes.h"

#include <functional>
#include <string>

namespace tqclient {

/// Writes a picture of what the widget shows to a PNG file, once it has drawn what it knows by now; the file appears
/// whole. Main thread.
/// @param done called once: with an empty text when the picture is written, else with what went wrong. Not called when
/// the widget goes before.
void captureView(GtkWidget* widget, std::string path, std::function<void(const std::string& failure)> done);

/// Writes the picture as a PNG file, which appears whole; answers what went wrong, empty for nothing.
std::string writePicture(GdkTexture* texture, GFile* file);

} // namespace tqclient
