/* Conversion in pieces: text that arrives a piece at a time (a file read in
 * blocks, a pipe, a socket) converted from one character set to another, for
 * C and C++.
 *
 * A stream converter reads its input through the source set's converter
 * into UTF-16 and writes that through the target set's converter, handing
 * the output to a sink as it goes. Input may be given in pieces of any size,
 * cut anywhere: a character (or surrogate pair) cut between pieces is
 * converted exactly as if it were whole, so the output is the same however
 * the input is cut. The converter keeps back only the bytes of a character
 * that is not yet complete, and works through a piece a slice at a time, so
 * its memory is bounded (KEL_STREAM_SLICE_BYTES of input at a time and what
 * they convert to) whatever the size of a piece.
 *
 * Between zero characters (the source's zero unit: a zero byte, or the zero
 * unit of UTF-16 and UTF-32) the text is converted as the converters convert
 * a text; each zero character comes out as the target's zero character.
 * A high surrogate that no low surrogate follows is written on its own, as
 * the target's converter writes it alone.
 *
 * What cannot be converted (bytes that are no character of the source set,
 * or a character the target set lacks) follows the policy:
 *   KEL_STREAM_STOP     the conversion ends before it: everything before it
 *                       has been delivered; the failure says what it was and
 *                       the byte offset of its first byte in the input;
 *   KEL_STREAM_REPLACE  U+FFFD for invalid input, "?" (the target's
 *                       replacement) for an unrepresentable character;
 *   KEL_STREAM_ESCAPE   as REPLACE, but an unrepresentable character is
 *                       written as "U+XXXX" per UTF-16 unit;
 *   KEL_STREAM_SKIP     it is left out (and counted).
 * Two optional handlers come first: one may give the text to read for bytes
 * the source cannot read, the other the text to write for a character the
 * target lacks (a transliteration); the policy applies where they give
 * none, or give text that cannot be converted either.
 *
 * The end of a text is marked with finish(): an incomplete sequence left at
 * the end is converted as the source's converter reads it at the end of a
 * text (an incomplete unit of UTF-16 or UTF-32 is invalid input). After
 * finish() the converter is ready for another text, whose offsets count from
 * 0 again. Offsets count the bytes given since the text began. */
#ifndef KELULIB_CHARSET_STREAM_CONVERTER_H_
#define KELULIB_CHARSET_STREAM_CONVERTER_H_

#include <stddef.h>
#include <stdint.h>

#include "charset_id.h"
#include "../platform/export.h"

/* Input bytes converted at a time. */
#define KEL_STREAM_SLICE_BYTES 32768

/* What becomes of what cannot be converted. */
typedef enum KelStreamPolicy {
  KEL_STREAM_STOP = 0,
  KEL_STREAM_REPLACE = 1,
  KEL_STREAM_ESCAPE = 2,
  KEL_STREAM_SKIP = 3
} KelStreamPolicy;

/* How a stream stands. Once it is not KEL_STREAM_OK, the conversion has
 * ended: further input is ignored until the converter is reset. */
typedef enum KelStreamStatus {
  KEL_STREAM_OK = 0,
  /* Bytes that are no character of the source set (KEL_STREAM_STOP). */
  KEL_STREAM_INVALID_INPUT = 1,
  /* A character that the target set cannot represent (KEL_STREAM_STOP). */
  KEL_STREAM_UNREPRESENTABLE = 2,
  /* The sink did not take the output. */
  KEL_STREAM_OUTPUT_FAILED = 3
} KelStreamStatus;

/* The most bytes a failure keeps of an invalid sequence. */
#define KEL_STREAM_FAILURE_BYTES 16

/* Why a conversion ended. */
typedef struct KelStreamFailure {
  KelStreamStatus status;
  /* Byte offset in the text of the first byte of the character that could
   * not be converted. */
  uint64_t offset;
  /* KEL_STREAM_INVALID_INPUT: the bytes of the invalid sequence (up to
   * KEL_STREAM_FAILURE_BYTES of them; byteCount says how many). */
  unsigned char bytes[KEL_STREAM_FAILURE_BYTES];
  size_t byteCount;
  /* KEL_STREAM_UNREPRESENTABLE: the character (the unit's value for a
   * surrogate without its partner). */
  uint32_t character;
} KelStreamFailure;

/* Receives the output, in order: returns 0 when it took the bytes, anything
 * else to end the conversion (KEL_STREAM_OUTPUT_FAILED). */
typedef int (*KelStreamWriteFunction)(void* context, const void* bytes, size_t size);

/* The most UTF-16 units a handler may give. */
#define KEL_STREAM_HANDLER_UNITS 16

/* Gives the text to write for `character`, which the target set lacks: up
 * to `room` (KEL_STREAM_HANDLER_UNITS) UTF-16 units into `units`; returns
 * how many, 0 for none. */
typedef size_t (*KelStreamSubstituteFunction)(void* context, uint32_t character, wchar16* units,
                                              size_t room);

/* Gives the text to read for the `count` bytes at `bytes`, which are no
 * character of the source set: up to `room` UTF-16 units into `units`;
 * returns how many, 0 for none. */
typedef size_t (*KelStreamInvalidInputFunction)(void* context, const unsigned char* bytes,
                                                size_t count, wchar16* units, size_t room);

#ifdef __cplusplus
class KelStreamConverter;
class KelCharSetConverter;
extern "C" {
#else
typedef struct KelStreamConverter KelStreamConverter;
#endif

/* A converter from `from` to `to` (ids as KelCharSetConverter::getConverter
 * resolves them) that gives its output to write(context, ...). Null when
 * `write` is null, `policy` is none of the four, or memory runs out. */
KELULIB_API KelStreamConverter* KelStreamCreate(KelCharSet from, KelCharSet to,
                                                KelStreamPolicy policy,
                                                KelStreamWriteFunction write, void* context);

/* Frees the converter (null is ignored). Output not yet delivered is not:
 * a complete text ends with KelStreamFinish. */
KELULIB_API void KelStreamDestroy(KelStreamConverter* stream);

/* Converts `size` more bytes of the text and delivers all that they
 * complete. Returns the converter's status. */
KELULIB_API KelStreamStatus KelStreamConvert(KelStreamConverter* stream, const void* bytes,
                                             size_t size);

/* Ends the text: converts what was kept back and delivers it. Returns the
 * status; the next KelStreamConvert starts a new text. */
KELULIB_API KelStreamStatus KelStreamFinish(KelStreamConverter* stream);

/* Forgets the text and any failure: the converter starts afresh (the count
 * of characters left out included). */
KELULIB_API void KelStreamReset(KelStreamConverter* stream);

/* The status, and in `failure` (when not null) the details of a failure. */
KELULIB_API KelStreamStatus KelStreamGetFailure(const KelStreamConverter* stream,
                                                KelStreamFailure* failure);

/* Characters left out under KEL_STREAM_SKIP since the converter was made or
 * reset. */
KELULIB_API uint64_t KelStreamSkippedCount(const KelStreamConverter* stream);

/* Sets (or, with null, clears) the handler asked for the text to write for
 * a character the target lacks. */
KELULIB_API void KelStreamSetSubstitution(KelStreamConverter* stream,
                                          KelStreamSubstituteFunction substitute, void* context);

/* Sets (or, with null, clears) the handler asked for the text to read for
 * bytes the source cannot read. */
KELULIB_API void KelStreamSetInvalidInputHandler(KelStreamConverter* stream,
                                                 KelStreamInvalidInputFunction handler,
                                                 void* context);

#ifdef __cplusplus
}  // extern "C"

// Receives a stream converter's output, in order.
class KELULIB_API KelStreamSink {
 public:
  virtual ~KelStreamSink();
  // Takes `size` bytes; false ends the conversion (KEL_STREAM_OUTPUT_FAILED).
  virtual bool write(const void* bytes, size_t size) = 0;
};

class KELULIB_API KelStreamConverter {
 public:
  static constexpr size_t kSliceBytes = KEL_STREAM_SLICE_BYTES;

  // A converter from `from` to `to` (ids as KelCharSetConverter::getConverter
  // resolves them) that gives its output to `sink`, which must outlive it.
  KelStreamConverter(KelCharSet from, KelCharSet to, KelStreamPolicy policy, KelStreamSink& sink);

  // The same with a sink function, as KelStreamCreate takes it.
  KelStreamConverter(KelCharSet from, KelCharSet to, KelStreamPolicy policy,
                     KelStreamWriteFunction write, void* context);

  // A converter between two converter objects: the library's own, or
  // others that implement KelCharSetConverter. A source converter that is
  // not one of the library's must read characters of one size
  // (getMinUnitSize() == getMaxUnitSize(): 1, 2 or 4 bytes) and report
  // invalid input through `illegal`; a target converter must report through
  // `illegal` what it cannot write, or write one byte per unit (as the
  // single-byte converters do). Throws std::invalid_argument for a null
  // converter, a source converter that does not qualify, or a policy that
  // is none of the four.
  KelStreamConverter(KelCharSetConverter* from, KelCharSetConverter* to, KelStreamPolicy policy,
                     KelStreamSink& sink);

  ~KelStreamConverter();
  KelStreamConverter(const KelStreamConverter&) = delete;
  KelStreamConverter& operator=(const KelStreamConverter&) = delete;

  // Converts `size` more bytes of the text and delivers all that they
  // complete. Returns the status.
  KelStreamStatus convert(const void* bytes, size_t size);

  // Ends the text: converts what was kept back and delivers it. The next
  // convert() starts a new text, its offsets counted from 0.
  KelStreamStatus finish();

  // Forgets the text, any failure and the count of characters left out.
  void reset();

  KelStreamStatus status() const;
  // Why the conversion ended (status KEL_STREAM_OK when it has not).
  const KelStreamFailure& failure() const;
  // Characters left out under KEL_STREAM_SKIP since construction or reset.
  uint64_t skippedCount() const;

  // Sets (null: clears) the handler for characters the target lacks.
  void setSubstitution(KelStreamSubstituteFunction substitute, void* context);
  // Sets (null: clears) the handler for bytes the source cannot read.
  void setInvalidInputHandler(KelStreamInvalidInputFunction handler, void* context);

 private:
  class Impl;
  Impl* m_impl;
};
#endif  // __cplusplus

#endif  // KELULIB_CHARSET_STREAM_CONVERTER_H_
