#include "../UIKit/UIImage.h"

#include "../UIKit/ImageSize.h"

#include <QBuffer>
#include <QImage>
#include <QImageReader>
#include <algorithm>

namespace tq {

struct UIImage::Impl {
    QImage image;
};

namespace {

const char* nameOf(ImageFormat format)
{
    switch (format) {
    case ImageFormat::PNG:
        return "png";
    case ImageFormat::JPEG:
        return "jpeg";
    case ImageFormat::GIF:
        return "gif";
    case ImageFormat::BMP:
        return "bmp";
    case ImageFormat::TIFF:
        return "tiff";
    }
    return "";
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
    // Of a moving picture the others, which nobody sees, are not read.
    auto data = QByteArray(bytes.data(), qsizetype(std::min(size->end, bytes.size())));
    QBuffer buffer(&data);
    // By a decoder that is named: the toolkit would choose one by other signs than those that the size was read by.
    QImageReader reader(&buffer, nameOf(size->format));
    reader.setAutoDetectImageFormat(false);
    auto image = reader.read();
    if (image.isNull())
        return nullptr;
    return std::shared_ptr<UIImage>(new UIImage(std::make_unique<Impl>(Impl{ std::move(image) })));
}

int UIImage::width() const { return m_impl->image.width(); }

int UIImage::height() const { return m_impl->image.height(); }

std::string UIImage::pngRepresentation() const
{
    QBuffer buffer;
    m_impl->image.save(&buffer, "PNG");
    return buffer.data().toStdString();
}

} // namespace tq
