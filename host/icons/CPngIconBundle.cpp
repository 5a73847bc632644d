#include "host/icons/CPngIconBundle.h"

#include "frame/host/VxIconBundle.h"

#include <gdk-pixbuf/gdk-pixbuf.h>

#include <algorithm>
#include <cstring>
#include <string>

namespace {

/// The decoded image: its size and its pixels as RGBA rows without padding.
struct Pixels {
    int32_t width;
    int32_t height;
    std::string rgba;
};

/// Reads the pixels of a bundle from the start; one stream per open.
struct PixelStream final : _t_QsStm {
    explicit PixelStream(const std::string& bytes) : m_bytes(bytes) {}
    long read(char* buffer, long count) override {
        if (!buffer || count < 0)
            return -1;
        size_t n = std::min(static_cast<size_t>(count), m_bytes.size() - m_at);
        std::memcpy(buffer, m_bytes.data() + m_at, n);
        m_at += n;
        return static_cast<long>(n);
    }

private:
    const std::string& m_bytes;
    size_t m_at = 0;
};

void measure(_t_VxIconBundleRec6* bundle, int32_t* width, int32_t* height) {
    auto* pixels = static_cast<Pixels*>(bundle->clientData);
    if (width)
        *width = pixels->width;
    if (height)
        *height = pixels->height;
}

QsStm openStm(_t_VxIconBundleRec6* bundle, int32_t index) {
    if (index != 0)
        return nullptr;
    return new PixelStream(static_cast<Pixels*>(bundle->clientData)->rgba);
}

uint32_t flags(_t_VxIconBundleRec6*) {
    return 0;
}

const VxIconBundleHandlerRec kHandler = {
    sizeof(VxIconBundleHandlerRec), 0, measure, openStm, flags, nullptr};

/// The image as unpadded RGBA rows, whatever the channels gdk-pixbuf gave.
std::string rgbaOf(GdkPixbuf* image) {
    int width = gdk_pixbuf_get_width(image);
    int height = gdk_pixbuf_get_height(image);
    int channels = gdk_pixbuf_get_n_channels(image);
    int stride = gdk_pixbuf_get_rowstride(image);
    const guchar* data = gdk_pixbuf_read_pixels(image);
    std::string rgba;
    rgba.reserve(static_cast<size_t>(width) * height * 4);
    for (int y = 0; y < height; ++y) {
        const guchar* row = data + static_cast<size_t>(y) * stride;
        for (int x = 0; x < width; ++x) {
            const guchar* pixel = row + static_cast<size_t>(x) * channels;
            rgba.push_back(static_cast<char>(pixel[0]));
            rgba.push_back(static_cast<char>(pixel[1]));
            rgba.push_back(static_cast<char>(pixel[2]));
            rgba.push_back(static_cast<char>(channels == 4 ? pixel[3] : 0xFF));
        }
    }
    return rgba;
}

/// Whether the bytes are a whole PNG: the signature, then chunks that each fit, up to IEND.
/// gdk-pixbuf makes an image of a file cut short, filling the missing rows; a cut file is no
/// icon.
bool isWholePNG(const unsigned char* bytes, size_t size) {
    static const unsigned char kSignature[] = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};
    if (size < sizeof kSignature || std::memcmp(bytes, kSignature, sizeof kSignature) != 0)
        return false;
    size_t at = sizeof kSignature;
    while (size - at >= 12) {
        size_t length = (size_t{bytes[at]} << 24) | (size_t{bytes[at + 1]} << 16) |
                        (size_t{bytes[at + 2]} << 8) | size_t{bytes[at + 3]};
        if (length > size - at - 12)
            return false;
        if (std::memcmp(bytes + at + 4, "IEND", 4) == 0)
            return true;
        at += 12 + length;
    }
    return false;
}

} // namespace

VxIcon PngIconBundleNew(const unsigned char* bytes, size_t size) {
    if (!bytes || !isWholePNG(bytes, size))
        return nullptr;
    GdkPixbufLoader* loader = gdk_pixbuf_loader_new_with_type("png", nullptr);
    if (!loader)
        return nullptr;
    bool read = gdk_pixbuf_loader_write(loader, bytes, size, nullptr);
    // Closing tells a truncated image from a whole one.
    read = gdk_pixbuf_loader_close(loader, nullptr) && read;
    GdkPixbuf* image = read ? gdk_pixbuf_loader_get_pixbuf(loader) : nullptr;
    VxIcon icon = nullptr;
    if (image && gdk_pixbuf_get_bits_per_sample(image) == 8 &&
        gdk_pixbuf_get_colorspace(image) == GDK_COLORSPACE_RGB) {
        auto* pixels =
            new Pixels{gdk_pixbuf_get_width(image), gdk_pixbuf_get_height(image), rgbaOf(image)};
        auto* bundle = new _t_VxIconBundleRec6{kVxIconBundleMagic, kVxIconBundleType,
                                               kVxIconBundleVersion, &kHandler, pixels};
        icon = reinterpret_cast<VxIcon>(bundle);
    }
    g_object_unref(loader);
    return icon;
}

void PngIconBundleRelease(VxIcon icon) {
    _t_VxIconBundleRec6* bundle = VxIconGetBundle(icon);
    if (!bundle || bundle->handler != &kHandler)
        return;
    delete static_cast<Pixels*>(bundle->clientData);
    delete bundle;
}
