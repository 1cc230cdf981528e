#pragma once

#include <QImage>
#include <QWidget>

// Shows a news item's image; releasing a press on it emits clicked().
class LVNewsInfoView : public QWidget
{
    Q_OBJECT
public:
    explicit LVNewsInfoView(QWidget* parent = nullptr);

    QImage image() const { return _image; }
    void setImage(const QImage& image);

    // Where the image is drawn: scaled to fit, centred, never enlarged.
    QRectF imageRect() const;

signals:
    // On the release, wherever the pointer is by then.
    void clicked();

protected:
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    QImage _image;
};
