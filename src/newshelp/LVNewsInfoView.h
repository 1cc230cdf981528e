#pragma once

#include <QImage>
#include <QPointer>
#include <QWidget>

class LVNewsItem;

// Shows a news item's image; presses, drags and releases go to the row.
class LVNewsInfoView : public QWidget
{
    Q_OBJECT
public:
    explicit LVNewsInfoView(QWidget* parent = nullptr);

    QImage image() const { return _image; }
    void setImage(const QImage& image);

    LVNewsItem* delegate() const { return _delegate; }
    void setDelegate(LVNewsItem* delegate) { _delegate = delegate; }

    // Where the image is drawn: scaled to fit, centred, never enlarged.
    QRectF imageRect() const;

protected:
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    QImage _image;
    QPointer<LVNewsItem> _delegate;
};
