#include "../UIKit/UIImage.h"

#include "../UIKit/ImageSize.h"
#include "GLibPointers.h"

#include <gdk/gdk.h>

namespace tq {

struct UIImage::Impl {
    GObjectPointer<GdkTexture> texture;
};

namespace {

// By a decoder that is named: the toolkit would choose one by other signs than those that the size was read by.
GObjectPointer<GdkTexture> decode(std::string_view bytes, const char* format)
{
    const GObjectPointer<GdkPixbufLoader> loader(gdk_pixbuf_loader_new_with_type(format, nullptr));
    if (!loader)
        return nullptr;
    const bool isTaken
        = gdk_pixbuf_loader_write(loader.get(), reinterpret_cast<const guchar*>(bytes.data()), bytes.size(), nullptr);
    const bool isWhole = gdk_pixbuf_loader_close(loader.get(), nullptr);
    auto* picture = isTaken && isWhole ? gdk_pixbuf_loader_get_pixbuf(loader.get()) : nullptr;
    return GObjectPointer<GdkTexture>(picture ? gdk_texture_new_for_pixbuf(picture) : nullptr);
}

GObjectPointer<GdkTexture> decode(std::string_view bytes, ImageFormat format)
{
    // Thousands of pictures that nobody sees would be read as well.
    if (format == ImageFormat::GIF)
        return decode(std::string(bytes) + ";", "gif");
    if (format == ImageFormat::BMP)
        return decode(bytes, "bmp");
    const GBytesPointer data(g_bytes_new(bytes.data(), bytes.size()));
    return GObjectPointer<GdkTexture>(gdk_texture_new_from_bytes(data.get(), nullptr));
}

} // namespace

UIImage::UIImage(std::unique_ptr<Impl> impl)
    : m_impl(std::move(impl))
{
}

UIImage::~UIImage() = default;

std::shared_ptr<UIImage> UIImage::imageWithData(std::string_view bytes)
{
    const auto size = decodableImageSize(bytes);
    if (!size)
        return nullptr;
    auto texture = decode(bytes.substr(0, size->end), size->format);
    if (!texture)
        return nullptr;
    return std::shared_ptr<UIImage>(new UIImage(std::make_unique<Impl>(Impl{ std::move(texture) })));
}

int UIImage::width() const { return gdk_texture_get_width(m_impl->texture.get()); }

int UIImage::height() const { return gdk_texture_get_height(m_impl->texture.get()); }

std::string UIImage::pngRepresentation() const
{
    const GBytesPointer data(gdk_texture_save_to_png_bytes(m_impl->texture.get()));
    gsize size = 0;
    const auto* bytes = static_cast<const char*>(g_bytes_get_data(data.get(), &size));
    return { bytes, size };
}

} // namespace tq
