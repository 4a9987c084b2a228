// For sources that are compiled once for each kernel level, with QV_LEVEL, the level's name, and QV_VECTOR_BYTES, the
// size of its vectors.
#pragma once

#define QV_JOINED_NAME(name, level) name##_##level
#define QV_NAME_AT(name, level) QV_JOINED_NAME(name, level)
/// name_sse2, name_avx2 or name_avx512.
#define QV_AT_LEVEL(name) QV_NAME_AT(name, QV_LEVEL)
