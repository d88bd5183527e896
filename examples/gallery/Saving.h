#pragma once

#include "q32Base/image/CqImage.h"

#include <string>

/// Thrown when a picture could not be shown or saved, after the user was informed.
struct Unshown {};

/// Saves a picture as a PNG file; throws Unshown.
void fnSavePicture(const std::string& path, CqImage& image);
