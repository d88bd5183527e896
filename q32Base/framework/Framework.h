/// @file
/// The framework classes in one include.
#pragma once

#include "q32Base/framework/CArchive.h"
#include "q32Base/framework/CArray.h"
#include "q32Base/framework/CBitmap.h"
#include "q32Base/framework/CCmdUI.h"
#include "q32Base/framework/CDocument.h"
#include "q32Base/framework/CFile.h"
#include "q32Base/framework/CFileException.h"
#include "q32Base/framework/CFont.h"
#include "q32Base/framework/CList.h"
#include "q32Base/framework/CObject.h"
#include "q32Base/framework/CPalette.h"
#include "q32Base/framework/CRgn.h"
#include "q32Base/framework/CString.h"
#include "q32Base/framework/CTime.h"
#include "q32Base/framework/Exceptions.h"
#include "q32Base/framework/Sync.h"
#include "q32Base/framework/Values.h"
#include "q32Base/framework/Windows.h"
#include "q32Base/platform/Records.h"
