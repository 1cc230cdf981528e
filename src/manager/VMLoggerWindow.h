#pragma once

#include "foundation/VMLogger.h"

#include <QWidget>
#include <memory>

namespace Ui {
class VMLogger;
}
class QTextEdit;

// The log window: every line the log writes, time-stamped and coloured by severity.
class VMLoggerWindow : public QWidget, public VMLogView
{
    Q_OBJECT
public:
    explicit VMLoggerWindow(QWidget* parent = nullptr);
    ~VMLoggerWindow() override;

    void appendLogLine(const QString& line, const QColor& color) override;
    bool isLogVisible() const override;
    void showLog() override;
    void hideLog() override;
    void clearLog() override;

    QTextEdit* textView() const;

    static QFont logFont();

private:
    std::unique_ptr<Ui::VMLogger> _ui;
};
