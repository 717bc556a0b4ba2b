/// @file
/// The macro that marks exported names.
#pragma once

/// @def KVI_API
/// Marks every function and class that programs may use. Programs that link the library as an
/// archive define KVI_STATIC, as the CMake target and the pkg-config file do.
#if defined(KVI_STATIC)
#define KVI_API
#elif defined(_WIN32) && defined(KVI_BUILDING)
#define KVI_API __declspec(dllexport)
#elif defined(_WIN32)
#define KVI_API __declspec(dllimport)
#else
#define KVI_API __attribute__((visibility("default")))
#endif
