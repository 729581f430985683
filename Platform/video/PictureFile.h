/**
 * @file PictureFile.h
 * Pictures as files with names of their own.
 */
#pragma once

#include <cstdint>
#include <span>
#include <string>

#include "platform.h"

namespace vorn::video {

/**
 * `S_OK` for a directory; `WIA_ERROR_DESTINATION` for a name that is none, `E_ACCESSDENIED` where nothing may be
 * written.
 */
HRESULT CheckDirectory(const std::string& directory);

/**
 * Writes a picture as `directory`/Picture.jpg, or Picture 1.jpg, Picture 2.jpg and so on: the first name from `number`
 * on that is free. No file is ever replaced, and none is left behind by a failure.
 *
 * @param number  in: where to begin, 0 for the name without a number; out: the number after the one used
 * @param path    receives the file's path
 * @return as CheckDirectory, and `WIA_ERROR_DESTINATION` when the file cannot be written
 */
HRESULT WritePicture(const std::string& directory, std::span<const uint8_t> picture, uint32_t& number,
                     std::string& path);

}  // namespace vorn::video
