/// Pictures of the screen, as a user sees it.
#pragma once

#include "unix/screen/ScreenSource.h"

#include <cstdint>
#include <memory>
#include <span>
#include <vector>

#include <xcb/xfixes.h>

/// A part of the screen, in pixels of the root window.
struct CScreenPart {
    int x;
    int y;
    int width;
    int height;
};

/// Takes one picture, on a connection that no other uses meanwhile. Where the server takes descriptors it
/// writes into memory that both have mapped, else the picture comes over the connection. One thread; blocks
/// until the server answers.
class CScreenPicture {
public:
    CScreenPicture() = default;
    ~CScreenPicture();
    CScreenPicture(const CScreenPicture&) = delete;
    CScreenPicture& operator=(const CScreenPicture&) = delete;

    bool lives() const { return m_connection.lives(); } ///< whether there is a server
    /// Takes the frames of this library off the screen, those of other processes as well, and waits until the
    /// programs below have drawn what was hidden: 300 ms at most. They are back when this object goes.
    void hideFrames();
    /// Reads a part of the screen.
    /// @return whether there is a picture: none without a server, none when the part is empty or not within
    /// the screen, none of a screen that shows colours of a palette
    bool read(const CScreenPart& part);
    /// Has the picture show the pointer as well, where the server tells how it looks (XFixes).
    void readPointer();
    /// Writes what was read, rows from the top, as 0x00RRGGBB. Asks nobody.
    /// @param pixels  width * height of them
    void copyTo(std::span<uint32_t> pixels) const;

private:
    struct CFormat {
        const xcb_visualtype_t* visual;
        unsigned bytesPerPixel;
        bool lowestFirst; ///< of these bytes
        size_t stride;    ///< bytes of a row
    };

    std::vector<xcb_window_t> shownFrames() const;
    bool isWithinScreen(const CScreenPart& part) const;
    bool findFormat();
    bool readShared();
    bool readOverConnection();
    bool isLikeJava() const;
    uint32_t pixelAt(const uint8_t* from) const;
    void convert(std::span<uint32_t> pixels) const;
    void drawPointer(std::span<uint32_t> pixels) const;

    std::unique_ptr<CScreenSource> m_source = CScreenSource::take();
    CScreenConnection& m_connection = m_source->connection();
    std::vector<xcb_window_t> m_hidden;
    CScreenPart m_part{};
    CFormat m_format{};
    MallocPtr<xcb_get_image_reply_t> m_reply;
    const uint8_t* m_data = nullptr; ///< in that, or in the memory of the source
    MallocPtr<xcb_xfixes_get_cursor_image_reply_t> m_pointer;
};
