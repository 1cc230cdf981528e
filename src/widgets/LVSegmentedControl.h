#pragma once

#include <QList>
#include <QPointer>
#include <QString>
#include <QWidget>

class QLabel;

// A segmented control in the style of the platform: a row of labelled segments, each with a tag,
// exactly one selected. A badge view may be pinned to a segment's top-right corner. It takes the
// keyboard focus, the arrow keys move the selection, and screen readers see a list of page tabs.
class LVSegmentedControl : public QWidget
{
    Q_OBJECT
public:
    explicit LVSegmentedControl(QWidget* parent = nullptr);

    // Segments get tags 0, 1, 2... in order.
    void setSegments(const QStringList& labels);
    int segmentCount() const { return int(_segments.size()); }

    QString labelForSegment(int segment) const;
    void setLabel(const QString& label, int segment);
    int selectedSegment() const { return _selected; }
    int selectedTag() const;
    // Selects the segment that carries the tag; false when none does (the selection stays).
    bool selectSegmentWithTag(int tag);
    int tagForSegment(int segment) const;

    // Selects the segment as the user would, sending activated() (keyboard and screen readers).
    void pressSegment(int segment);
    // A segment's label and, while its badge shows, the badge's accessible name: "Installs (3)".
    QString accessibleNameForSegment(int segment) const;

    void setBadgeView(int segment, QLabel* badge);
    // Puts each badge at the top right of its segment; call it when a badge's image changes.
    void placeBadges();

    // Smaller segments for a secondary control.
    void setCompact(bool compact);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return sizeHint(); }

    QRect segmentRect(int segment) const;

signals:
    // The user chose a segment (not sent for selections made by the program).
    void activated(int segment);

protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    struct Segment
    {
        QString label;
        int tag = 0;
        QPointer<QLabel> badge;
    };
    int segmentWidth() const;
    QFont segmentFont() const;
    void notifySelection();

    QList<Segment> _segments;
    int _selected = -1;
    bool _compact = false;
    // The focus ring shows only when the focus came from the keyboard.
    bool _focusRing = false;
};
