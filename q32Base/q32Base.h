/// @file
/// The one header that a host needs. Start with `q32Attach`, stop with `q32Detach`.
#pragma once

#include "q32Base/display/CqDisplayProperty.h"
#include "q32Base/framework/Framework.h"
#include "q32Base/image/CqColor.h"
#include "q32Base/image/CqImage.h"
#include "q32Base/image/CqImageLine.h"
#include "q32Base/image/CqImageTile.h"
#include "q32Base/image/CqMask.h"
#include "q32Base/image/CqMergeParam.h"
#include "q32Base/memory/CqVMPolicy.h"
#include "q32Base/messages/CqErrCallback.h"
#include "q32Base/messages/Messages.h"
#include "q32Base/module/Module.h"
#include "q32Base/operations/CqConvMask.h"
#include "q32Base/platform/CqPlatform.h"
#include "q32Base/services/CqDumpBin.h"
#include "q32Base/services/CqPowerStr.h"
#include "q32Base/services/CqProgressDisplay.h"
#include "q32Base/services/CqUndoMngr.h"
#include "q32Base/sound/CqSoundCtrl.h"
#include "q32Base/sound/CqWave.h"
