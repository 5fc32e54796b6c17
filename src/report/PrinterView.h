#pragma once

#include "report/Subsitute.h"

#include <QRectF>
#include <memory>
#include <vector>

class QPainter;

/// A rectangle on a report page that may hold other views. Coordinates grow
/// downwards from the top-left corner, in points; a subview's frame is relative
/// to its parent. The plain view draws nothing of its own, so a page made of
/// one shows only its subviews.
class PrinterView : public Subsitute
{
public:
    explicit PrinterView(const QRectF& frame = QRectF());
    ~PrinterView() override;

    PrinterView(const PrinterView&) = delete;
    PrinterView& operator=(const PrinterView&) = delete;

    QRectF frame() const { return m_frame; }
    void setFrame(const QRectF& frame) { m_frame = frame; }

    /// Takes ownership of the view and places it on top of the existing subviews.
    PrinterView* addSubview(std::unique_ptr<PrinterView> view);
    const std::vector<std::unique_ptr<PrinterView>>& subviews() const { return m_subviews; }

    /// An independent deep copy (this view and all its subviews), so every page
    /// can own and change its own copy of a header or footer.
    std::unique_ptr<PrinterView> copy() const;

    /// Draws this view and then its subviews; the painter's origin is the parent's.
    void render(QPainter* painter) const;

    /// Frees caches that can be rebuilt (such as text layouts), here and in the subviews.
    void releaseCaches();

protected:
    /// A copy of this view without subviews; subclasses copy their own state.
    virtual std::unique_ptr<PrinterView> copyWithoutSubviews() const;
    /// Draws the view's own content in its own coordinates (origin at its top-left corner).
    virtual void draw(QPainter* painter) const;
    virtual void releaseOwnCaches() { }

private:
    QRectF m_frame;
    std::vector<std::unique_ptr<PrinterView>> m_subviews;
};
