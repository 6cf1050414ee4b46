// ScreenshotPng: read-locks the surface (the front buffer of a flipping surface), converts each
// line from native-endian 32-bit ARGB words to R, G, B, A bytes and hands it to libpng. libpng
// reports errors by longjmp; only plain data lives across setjmp here.
#include "ScreenshotPng.h"

#include "DfbInit.h"
#include "MultimediaDriverDfb.h"
#include "SurfaceDfb.h"

#include <png.h>

#include <csetjmp>
#include <cstdio>
#include <memory>
#include <mutex>
#include <vector>

namespace KELO {

namespace {

void setError(std::string* error, const std::string& text)
{
    if (error != nullptr)
        *error = text;
}

// Writes `height` rows already converted to RGBA into `file`; false on a libpng error.
bool writeRows(FILE* file, int width, int height, std::vector<png_bytep>& rows)
{
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    if (png == nullptr)
        return false;
    png_infop info = png_create_info_struct(png);
    if (info == nullptr) {
        png_destroy_write_struct(&png, nullptr);
        return false;
    }
    if (setjmp(png_jmpbuf(png))) {
        png_destroy_write_struct(&png, &info);
        return false;
    }
    png_init_io(png, file);
    png_set_IHDR(png, info, static_cast<png_uint_32>(width), static_cast<png_uint_32>(height), 8,
                 PNG_COLOR_TYPE_RGB_ALPHA, PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT,
                 PNG_FILTER_TYPE_DEFAULT);
    png_write_info(png, info);
    png_write_image(png, rows.data());
    png_write_end(png, nullptr);
    png_destroy_write_struct(&png, &info);
    return true;
}

bool saveLocked_i(IDirectFBSurface* surface, const std::string& path, std::string* error)
{
    int width = 0;
    int height = 0;
    DFBSurfacePixelFormat format = DSPF_UNKNOWN;
    surface->GetSize(surface, &width, &height);
    surface->GetPixelFormat(surface, &format);
    if (format != DSPF_ARGB && format != DSPF_RGB32) {
        setError(error, "surface format is not 32-bit ARGB or RGB32");
        return false;
    }
    if (width <= 0 || height <= 0) {
        setError(error, "surface is empty");
        return false;
    }
    void* pixels = nullptr;
    int pitch = 0;
    if (surface->Lock(surface, DSLF_READ, &pixels, &pitch) != DFB_OK) {
        setError(error, "surface cannot be locked");
        return false;
    }
    const bool opaque = format == DSPF_RGB32;
    std::vector<png_byte> converted(static_cast<size_t>(width) * static_cast<size_t>(height) * 4u);
    std::vector<png_bytep> rows(static_cast<size_t>(height));
    for (int y = 0; y < height; ++y) {
        const uint32* line = reinterpret_cast<const uint32*>(static_cast<const uint8*>(pixels) +
                                                             ptrdiff_t(y) * pitch);
        png_bytep out = converted.data() + size_t(y) * size_t(width) * 4u;
        rows[size_t(y)] = out;
        for (int x = 0; x < width; ++x) {
            const uint32 argb = line[x];
            out[4 * x + 0] = static_cast<png_byte>(argb >> 16);
            out[4 * x + 1] = static_cast<png_byte>(argb >> 8);
            out[4 * x + 2] = static_cast<png_byte>(argb);
            out[4 * x + 3] = opaque ? 0xFF : static_cast<png_byte>(argb >> 24);
        }
    }
    surface->Unlock(surface);

    const std::string temporary = path + ".part";
    FILE* file = std::fopen(temporary.c_str(), "wb");
    if (file == nullptr) {
        setError(error, "cannot create " + temporary);
        return false;
    }
    const bool written = writeRows(file, width, height, rows);
    const bool closed = std::fclose(file) == 0;
    if (!written || !closed || std::rename(temporary.c_str(), path.c_str()) != 0) {
        std::remove(temporary.c_str());
        setError(error, "cannot write " + path);
        return false;
    }
    return true;
}

} // namespace

bool saveDfbSurfacePng(IDirectFBSurface* surface, const std::string& path, std::string* error)
{
    if (surface == nullptr) {
        setError(error, "no surface");
        return false;
    }
    MultimediaDriverDfb* driver = MultimediaDriverDfb::instance();
    if (driver == nullptr)
        return saveLocked_i(surface, path, error);
    std::lock_guard<std::mutex> lock(driver->gfxBlitMutex());
    return saveLocked_i(surface, path, error);
}

bool saveScreenshotPng(const std::string& path, std::string* error)
{
    return saveDfbSurfacePng(DfbInit::primarySurface(), path, error);
}

bool saveSurfacePng(const Surface& surface, const std::string& path, std::string* error)
{
    return saveDfbSurfacePng(static_cast<const SurfaceDfb&>(surface).dfbSurface(), path, error);
}

} // namespace KELO
