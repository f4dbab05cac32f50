#pragma once

/// Marks what the shared library hands to its users; everything else stays hidden in it.
#define TQWB_EXPORT __attribute__((visibility("default")))
