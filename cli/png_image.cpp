#include "cli/png_image.h"

#include <png.h>

#include <cstdio>
#include <memory>

#include "core/safe_replace.h"

namespace osmera::cli {

namespace {

struct FileCloser {
    void operator()(FILE* f) const { std::fclose(f); }
};
using FilePtr = std::unique_ptr<FILE, FileCloser>;

// libpng reports errors by longjmp; these run inside the setjmp scopes below and keep
// C++ objects with destructors out of them.
bool WriteRows(FILE* file, const LPngImage& image, std::vector<png_byte>& row) {
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = png ? png_create_info_struct(png) : nullptr;
    if (!info) {
        png_destroy_write_struct(&png, nullptr);
        return false;
    }
    if (setjmp(png_jmpbuf(png))) {
        png_destroy_write_struct(&png, &info);
        return false;
    }
    png_init_io(png, file);
    png_set_IHDR(png, info, static_cast<png_uint_32>(image.width),
                 static_cast<png_uint_32>(image.height), 8, PNG_COLOR_TYPE_RGB, PNG_INTERLACE_NONE,
                 PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    png_write_info(png, info);
    for (int y = 0; y < image.height; ++y) {
        for (int x = 0; x < image.width; ++x) {
            const uint32_t p = image.At(x, y);
            row[static_cast<size_t>(x) * 3] = static_cast<png_byte>(p >> 16);
            row[static_cast<size_t>(x) * 3 + 1] = static_cast<png_byte>(p >> 8);
            row[static_cast<size_t>(x) * 3 + 2] = static_cast<png_byte>(p);
        }
        png_write_row(png, row.data());
    }
    png_write_end(png, nullptr);
    png_destroy_write_struct(&png, &info);
    return true;
}

}  // namespace

bool WritePng(const LPngImage& image, const std::string& path, std::string& message) {
    LSafeReplace out(path);
    if (out.Failed()) {
        message = out.ErrorText();
        return false;
    }
    std::vector<png_byte> row(static_cast<size_t>(image.width) * 3);
    bool ok;
    {
        FilePtr file(std::fopen(out.TempPath().c_str(), "wb"));
        ok = file && WriteRows(file.get(), image, row) && std::fflush(file.get()) == 0 &&
             !std::ferror(file.get());
    }
    if (!ok) {
        message = "The picture could not be written to " + path + " (is the disk full?).";
        return false;
    }
    if (!out.Commit()) {
        message = out.ErrorText();
        return false;
    }
    return true;
}

bool ReadPng(const std::string& path, LPngImage& image) {
    png_image png{};
    png.version = PNG_IMAGE_VERSION;
    if (!png_image_begin_read_from_file(&png, path.c_str()))
        return false;
    png.format = PNG_FORMAT_RGB;
    std::vector<png_byte> bytes(PNG_IMAGE_SIZE(png));
    if (!png_image_finish_read(&png, nullptr, bytes.data(), 0, nullptr)) {
        png_image_free(&png);
        return false;
    }
    image = LPngImage(static_cast<int>(png.width), static_cast<int>(png.height), 0);
    for (size_t i = 0; i < image.pixels.size(); ++i)
        image.pixels[i] =
            (uint32_t{bytes[i * 3]} << 16) | (uint32_t{bytes[i * 3 + 1]} << 8) | bytes[i * 3 + 2];
    return true;
}

}  // namespace osmera::cli
