// The whole interface of the library.
#pragma once

#include "qv/audio.h"
#include "qv/audio_channels.h"
#include "qv/audio_kernels.h"
#include "qv/cpu.h"
#include "qv/language.h"
#include "qv/list.h"
#include "qv/memory_stream.h"
#include "qv/metric.h"
#include "qv/nanotime.h"
#include "qv/queue.h"
#include "qv/result.h"
#include "qv/riff.h"
#include "qv/smpte.h"
#include "qv/text.h"
#include "qv/time.h"
#include "qv/win32.h"
