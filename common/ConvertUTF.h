// Conversions between the three Unicode encoding forms, with the names and the behaviour of the Unicode
// Consortium's published routines.
//
// Each converts from [*sourceStart, sourceEnd) to [*targetStart, targetEnd) and moves both start pointers to
// the end of what it converted; it never reads or writes at or past an end. A value that does not fit the
// target is left in the source. Any thread.
//
// Ill-formed input: a strict conversion stops in front of it with sourceIllegal. A lenient one replaces what
// the target form cannot express by U+FFFD and passes single surrogates through where the form can carry
// them; ill-formed UTF-8 stops it as well. A value above U+10FFFF never stops a conversion from UTF-32: to
// UTF-8 it becomes U+FFFD and the result is sourceIllegal; to UTF-16 it becomes U+FFFD (lenient) or is left
// out with the result sourceIllegal (strict).
#pragma once

using UTF32 = unsigned int;
using UTF16 = unsigned short;
using UTF8 = unsigned char;

enum ConversionResult {
    conversionOK,     // everything was converted
    sourceExhausted,  // the source ends within a character
    targetExhausted,  // the target has no room for the next character
    sourceIllegal     // the source is ill-formed
};

enum ConversionFlags { strictConversion = 0, lenientConversion = 1 };

ConversionResult ConvertUTF32toUTF16(const UTF32** sourceStart, const UTF32* sourceEnd, UTF16** targetStart,
                                     UTF16* targetEnd, ConversionFlags flags);
ConversionResult ConvertUTF16toUTF32(const UTF16** sourceStart, const UTF16* sourceEnd, UTF32** targetStart,
                                     UTF32* targetEnd, ConversionFlags flags);
ConversionResult ConvertUTF16toUTF8(const UTF16** sourceStart, const UTF16* sourceEnd, UTF8** targetStart,
                                    UTF8* targetEnd, ConversionFlags flags);
ConversionResult ConvertUTF8toUTF16(const UTF8** sourceStart, const UTF8* sourceEnd, UTF16** targetStart,
                                    UTF16* targetEnd, ConversionFlags flags);
ConversionResult ConvertUTF32toUTF8(const UTF32** sourceStart, const UTF32* sourceEnd, UTF8** targetStart,
                                    UTF8* targetEnd, ConversionFlags flags);
ConversionResult ConvertUTF8toUTF32(const UTF8** sourceStart, const UTF8* sourceEnd, UTF32** targetStart,
                                    UTF32* targetEnd, ConversionFlags flags);

// Whether the `length` bytes at `source`, as many as its first byte announces, are one well-formed character.
bool isLegalUTF8(const UTF8* source, int length);
// Whether a well-formed character begins at `source` and ends no later than `sourceEnd`.
bool isLegalUTF8Sequence(const UTF8* source, const UTF8* sourceEnd);
