/// @file
/// The mixer back end over ALSA's simple mixer, for machines whose sound card has bass and treble,
/// or that run no sound server.
///
///     platform.m_pMixers = std::make_shared<CqAlsaMixers>("hw:0");
#pragma once

#include "platforms/alsa/CqAlsaMixers.h"
