#include "../UIKit/UIProgressView.h"

#include "Colors.h"
#include "UIViewNative.h"

#include <QPainter>
#include <QProgressBar>
#include <cmath>

namespace tq {

struct UIProgressView::Style {
    static constexpr int kSteps = 10'000;

    // A bar for assistive technologies, and a line for the eye.
    class TQWB_HIDDEN Line final : public QProgressBar {
    public:
        explicit Line(CGRect frame)
        {
            setGeometry(QRectF(frame.x, frame.y, frame.width, frame.height).toRect());
            setMinimumSize(0, 0);
            setFixedSize(size());
            setRange(0, kSteps);
            setValue(0);
            setAttribute(Qt::WA_TransparentForMouseEvents);
        }

        QColor color{};
        CGAffineTransform transform{};

    private:
        void paintEvent(QPaintEvent*) override
        {
            QPainter painter(this);
            const QPointF middle = QRectF(rect()).center();
            painter.translate(middle);
            painter.scale(transform.scaleX, transform.scaleY);
            painter.translate(-middle);
            painter.fillRect(QRectF(0, 0, width() * double(value()) / kSteps, height()), color);
        }
    };

    const QPointer<Line> line;
};

UIProgressView::UIProgressView(CGRect frame)
    : UIView(frame, std::make_unique<Native>(new Style::Line(frame)))
    , m_style(new Style{ static_cast<Style::Line*>(static_cast<QWidget*>(nativeHandle())) })
{
    updateStyle();
}

UIProgressView::~UIProgressView() = default;

void UIProgressView::updateProgress()
{
    if (m_style->line)
        m_style->line->setValue(int(std::lround(m_progress * Style::kSteps)));
}

void UIProgressView::updateStyle()
{
    if (!m_style->line)
        return;
    m_style->line->color = toQt(tintColor());
    m_style->line->transform = m_transform;
    m_style->line->update();
}

} // namespace tq
