// gx shot: a picture of the screen, or of where a window is, as a PNG file.
#include "gx/CommandLine.h"

#include "gx/Commands.h"
#include "gx/Seen.h"
#include "include/Retried.h"
#include "include/ScopedFile.h"
#include "unix/window/ServerComplaint.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <png.h>
#include <unistd.h>

#include "unix/screen/ScreenPicture.h"
#include "unix/window/XErrors.h"

namespace {
CScreenPart screen()
{
    Display* const display = walkDisplay();
    const int number = DefaultScreen(display);
    return {0, 0, DisplayWidth(display, number), DisplayHeight(display, number)};
}

/// What of a window is on the screen.
CScreenPart partOf(const CSeenWindow& window)
{
    const CScreenPart whole = screen();
    const int left = std::max(window.box.getLeft(), 0), top = std::max(window.box.getTop(), 0);
    const int right = std::min(window.box.getLeft() + window.box.getWidth(), whole.width);
    const int bottom = std::min(window.box.getTop() + window.box.getHeight(), whole.height);
    if (right <= left || bottom <= top)
        throw CNotSo("no picture of the window \"" + Seen::shown(window.caption) + "\"",
                     "nothing of it is on the screen: it lies at " + Seen::placeOf(window.box),
                     "have it moved there, or ask for the screen");
    return {left, top, right - left, bottom - top};
}

/// Three bytes a pixel.
std::vector<uint8_t> read(CScreenPicture& picture, const CScreenPart& part)
{
    if (!picture.read(part))
        throw picture.lives()
            ? CNotSo("no picture of " + Seen::placeOf(Rect(part.y, part.x, part.height, part.width)),
                     "the screen shows colours of a palette, or has just changed its size",
                     "try again, or on a screen of 24 bits: gx session -- COMMAND")
            : CNotSo(ServerComplaint::text());
    std::vector<uint32_t> pixels(static_cast<size_t>(part.width) * static_cast<size_t>(part.height));
    picture.copyTo(pixels);
    std::vector<uint8_t> bytes;
    bytes.reserve(pixels.size() * 3);
    for (const uint32_t pixel : pixels)
        for (const int shift : {16, 8, 0})
            bytes.push_back(static_cast<uint8_t>(pixel >> shift));
    return bytes;
}

std::vector<uint8_t> encoded(const std::vector<uint8_t>& bytes, const CScreenPart& part)
{
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    image.width = static_cast<png_uint_32>(part.width);
    image.height = static_cast<png_uint_32>(part.height);
    image.format = PNG_FORMAT_RGB;
    image.flags = PNG_IMAGE_FLAG_FAST;
    png_alloc_size_t size = PNG_IMAGE_PNG_SIZE_MAX(image);
    std::vector<uint8_t> file(size);
    if (!png_image_write_to_memory(&image, file.data(), &size, 0, bytes.data(), 0, nullptr))
        throw CNotSo("the picture cannot be encoded", image.message, "");
    file.resize(size);
    return file;
}

void writeAll(int file, const std::vector<uint8_t>& bytes, const std::string& name)
{
    for (size_t at = 0; at < bytes.size();) {
        const ssize_t written = retried([&] { return write(file, bytes.data() + at, bytes.size() - at); });
        if (written < 0)
            throw CNotSo("the picture cannot be written to " + name, std::strerror(errno),
                         "what was written is no whole picture");
        at += static_cast<size_t>(written);
    }
}

void save(const std::vector<uint8_t>& bytes, const std::string& name)
{
    if (name == "-")
        return writeAll(STDOUT_FILENO, bytes, "standard output");
    const CDescriptor file(open(name.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666));
    if (!file)
        throw CNotSo("the file " + name + " cannot be made", std::strerror(errno),
                     "name one in a directory that you may write to");
    writeAll(file.get(), bytes, name);
}
} // namespace

int runShot(const CCall& call)
{
    Seen::requireServer();
    const CScreenPart part = call.has("window") ? partOf(Seen::demand(call.option("window"))) : screen();
    CScreenPicture picture;
    picture.hideFrames();
    save(encoded(read(picture, part), part), call.arguments[0]);
    return StatusFine;
}
