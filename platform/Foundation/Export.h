#pragma once

/// Marks what the shared library hands to its users; everything else stays hidden in it.
#define TQWB_EXPORT __attribute__((visibility("default")))

/// Marks what stays hidden although the class around it is marked `TQWB_EXPORT`.
#define TQWB_HIDDEN __attribute__((visibility("hidden")))
