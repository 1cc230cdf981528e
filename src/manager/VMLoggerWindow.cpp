#include "VMLoggerWindow.h"
#include "ui_VMLogger.h"

#include <QPushButton>
#include <QTextCursor>

VMLoggerWindow::VMLoggerWindow(QWidget* parent) : QWidget(parent, Qt::Window), _ui(std::make_unique<Ui::VMLogger>())
{
    _ui->setupUi(this);
    // The lines are black, red and orange, so the page they are written on stays white.
    QPalette page = _ui->_textView->palette();
    page.setColor(QPalette::Base, Qt::white);
    page.setColor(QPalette::Text, Qt::black);
    _ui->_textView->setPalette(page);
    _ui->_textView->document()->setDocumentMargin(10);
    connect(_ui->_clearButton, &QPushButton::clicked, this, &VMLoggerWindow::clearLog);
}

VMLoggerWindow::~VMLoggerWindow()
{
    if (VMLogger::sharedLogger()->view() == this)
        VMLogger::sharedLogger()->setView(nullptr);
}

QFont VMLoggerWindow::logFont()
{
    QFont font(QStringLiteral("Helvetica"));
    font.setPointSizeF(14.0);
    return font;
}

void VMLoggerWindow::appendLogLine(const QString& line, const QColor& color)
{
    QTextCharFormat format;
    format.setFont(logFont());
    format.setForeground(color);
    QTextCursor cursor(_ui->_textView->document());
    cursor.movePosition(QTextCursor::End);
    // One edit block: the line arrives as a whole, as one change of the text.
    cursor.beginEditBlock();
    cursor.insertText(line, format);
    cursor.endEditBlock();
    if (isVisible())
        _ui->_textView->ensureCursorVisible();
}

bool VMLoggerWindow::isLogVisible() const
{
    return isVisible();
}

void VMLoggerWindow::showLog()
{
    show();
    raise();
}

void VMLoggerWindow::hideLog()
{
    hide();
}

void VMLoggerWindow::clearLog()
{
    _ui->_textView->clear();
}

QTextEdit* VMLoggerWindow::textView() const
{
    return _ui->_textView;
}
