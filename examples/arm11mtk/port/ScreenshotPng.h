#ifndef ARM11MTK_PORT_SCREENSHOTPNG_H
#define ARM11MTK_PORT_SCREENSHOTPNG_H
// Screenshots as PNG files: 8-bit RGBA, non-interlaced, one row per surface line. Pixels are
// read from a locked 32-bit ARGB or RGB32 DirectFB surface (RGB32 is written fully opaque); other
// formats are refused. The file is written to a temporary name beside `path` and renamed, so a
// failed write never leaves a partial file under `path`.
#include <directfb.h>

#include <string>

namespace KELO {

class Surface;

// The primary surface (what is on screen after the last flip). False with `error` set on
// failure.
bool saveScreenshotPng(const std::string& path, std::string* error = nullptr);

// Any DirectFB surface.
bool saveDfbSurfacePng(IDirectFBSurface* surface, const std::string& path,
                       std::string* error = nullptr);

// A surface made by the port's graphics driver.
bool saveSurfacePng(const Surface& surface, const std::string& path, std::string* error = nullptr);

} // namespace KELO

#endif
