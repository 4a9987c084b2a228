// The counted start and end of the MP4 layer.
#pragma once

#include "qv/export.h"
#include "qv/win32.h"

/// Makes the box factories and takes a use of them. Any thread; S_OK, or E_OUTOFMEMORY.
QV_FUNCTION HRESULT Mpeg4MetaStartUp(void);
/// Gives a use back; the last one destroys the factories. One too many does nothing. S_OK.
QV_FUNCTION HRESULT Mpeg4MetaShutDown(void);
