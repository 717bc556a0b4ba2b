/// @file
/// The one macro that marks what leaves the library.
#pragma once

/// @def KVI_API
/// Marks every function and class that programs may use.
#if defined(_WIN32) && defined(KVI_BUILDING)
#define KVI_API __declspec(dllexport)
#elif defined(_WIN32)
#define KVI_API __declspec(dllimport)
#else
#define KVI_API __attribute__((visibility("default")))
#endif
