// KelULib: UTF-16 text and character-set conversion.
//
// The one header a user includes. From C it declares the flat buffer
// functions, the character-set names and the stream conversion functions;
// from C++ the whole public
// interface.
#ifndef KELULIB_KELULIB_H_
#define KELULIB_KELULIB_H_

#include "charset/charset_names.h"
#include "charset/stream_converter.h"
#include "flatapi/buffer_conversion.h"

#ifdef __cplusplus
#include "charset/converter.h"
#include "charset/obj_lock.h"
#include "charset/tables/dbcs_converter.h"
#include "charset/tables/euc_cn_kr_converter.h"
#include "charset/tables/euc_jp_converter.h"
#include "charset/tables/gb18030_converter.h"
#include "charset/tables/mbcs_converter.h"
#include "charset/tables/sbcs_converter.h"
#include "charset/unicode/utf16_converters.h"
#include "charset/unicode/utf32_converter.h"
#include "charset/unicode/utf8_converter.h"
#include "uchar/uchar.h"
#include "ustring/ustring.h"
#include "ustring/ustring_list.h"
#include "ustring/ustring_stream.h"
#endif

#endif  // KELULIB_KELULIB_H_
