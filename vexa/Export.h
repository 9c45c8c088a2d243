#pragma once

// Marks the names that the shared library exports. Everything else is built with hidden
// visibility; the unit tests reach the rest by linking the same objects.
#if defined(_WIN32)
#if defined(VX_BUILDING_LIBRARY)
#define VX_API __declspec(dllexport)
#else
#define VX_API __declspec(dllimport)
#endif
#else
#define VX_API __attribute__((visibility("default")))
#endif
