#include "../UIKit/UIImage.h"

#include "../UIKit/ImageSize.h"
#include "GLibPointers.h"

#include <gdk/gdk.h>

namespace tq {

struct UIImage::Impl {
    GObjectPointer<GdkTexture> texture;
};

UIImage::UIImage(std::unique_ptr<Impl> impl)
    : m_impl(std::move(impl))
{
}

UIImage::~UIImage() = default;

std::shared_ptr<UIImage> UIImage::imageWithData(std::string_view bytes)
{
    // A few bytes may claim to be a picture that fills the memory: look before decoding.
    constexpr std::uint64_t kMaxPixels = 64'000'000;
    const auto size = encodedImageSize(bytes);
    if (!size || !size->width || !size->height || std::uint64_t{ size->width } * size->height > kMaxPixels)
        return nullptr;
    const GBytesPointer data(g_bytes_new(bytes.data(), bytes.size()));
    GObjectPointer<GdkTexture> texture(gdk_texture_new_from_bytes(data.get(), nullptr));
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
