#pragma once

#include "../Foundation/Export.h"

#include <memory>
#include <string>
#include <string_view>

namespace tq {

/// A picture, immutable and safe to hold on any thread.
class TQWB_EXPORT UIImage {
public:
    /// Decodes a PNG or JPEG picture.
    /// @returns absent when the bytes are no such picture, or one of more than 64 megapixels.
    static std::shared_ptr<UIImage> imageWithData(std::string_view bytes);

    ~UIImage();
    UIImage(const UIImage&) = delete;
    UIImage& operator=(const UIImage&) = delete;

    /// In pixels.
    int width() const;
    /// In pixels.
    int height() const;
    /// The picture as a PNG file's bytes.
    std::string pngRepresentation() const;

private:
    struct TQWB_HIDDEN Impl;
    explicit UIImage(std::unique_ptr<Impl> impl);
    std::unique_ptr<Impl> m_impl;
};

} // namespace tq
