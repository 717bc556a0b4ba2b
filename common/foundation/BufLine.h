/// @file
/// Lines of text in a byte buffer, read one after the other or written. Every routine stays within
/// the sizes it is given; the text need not end with a line end.
#pragma once

#include "foundation/kvi_export.h"

/// How ReadBufLine treats a line.
struct ReadBufSettings
{
    char comment;   ///< a comment's first character: it and what follows are dropped; 0: none
    bool stripLd;   ///< remove leading blanks (spaces, tabs)
    bool stripTr;   ///< remove trailing blanks
    bool skipBlank; ///< skip lines that are then empty
};

/// Lines without their trailing blanks: no comments, no line skipped.
extern KVI_API const ReadBufSettings rbfDefault;

/// Reads the next line of the bytes from @p *at to @p end into @p line and moves @p *at past it.
/// A line ends with "\n", "\r\n", "\r" or the end of the bytes; a zero byte is read as a blank.
/// @param line  receives the line without its end, closed by a zero; a line longer than size - 1 is
///              cut there, and its rest is passed over
/// @param size  of @p line in bytes, at least 1
/// @returns the line's whole length, so a result >= size means that it was cut; -1 when no line is
///          left, and @p line is empty then
KVI_API int ReadBufLine(char* line, int size, const char** at, const char* end,
                        const ReadBufSettings& settings = rbfDefault);

/// Appends @p line, "\n" and a terminating zero to the @p *used bytes of @p buffer.
/// @param size  of @p buffer in bytes
/// @returns true and the new number of bytes, the zero not counted, in @p *used; false when there
/// is no room, and nothing is changed then
KVI_API bool WriteBufLine(char* buffer, int size, int* used, const char* line);

/// The same with a line of two pieces, @p first and @p second, with one blank between them.
KVI_API bool WriteBufLine2(char* buffer, int size, int* used, const char* first,
                           const char* second);
