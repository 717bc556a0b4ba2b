/// @file
/// The version of the headers that a program is compiled with.
#pragma once

#define KVI_VERSION_MAJOR 0 ///< changes with the binary interface, from 1 on
#define KVI_VERSION_MINOR 1 ///< changes with the binary interface while the major number is 0
#define KVI_VERSION_PATCH 0 ///< corrections only

/// One number to compare: major * 10000 + minor * 100 + patch.
#define KVI_VERSION (KVI_VERSION_MAJOR * 10000 + KVI_VERSION_MINOR * 100 + KVI_VERSION_PATCH)
