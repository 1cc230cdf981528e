#pragma once

#include <QColor>
#include <QList>
#include <QObject>
#include <QString>

#include <utility>

// Where the log's lines are shown. The log window implements it; without a visible view each
// line also goes to the system log.
class VMLogView
{
public:
    virtual ~VMLogView() = default;
    virtual void appendLogLine(const QString& line, const QColor& color) = 0;
    virtual bool isLogVisible() const = 0;
    virtual void showLog() = 0;
    virtual void hideLog() = 0;
    virtual void clearLog() = 0;
};

// The system's log. Every entry point may be called from any thread; lines reach the view on the
// main thread in the order each thread logged them.
class VMLogger : public QObject
{
    Q_OBJECT
public:
    enum Severity { Message, Error, Warning };
    Q_ENUM(Severity)

    static VMLogger* sharedLogger();

    static void logMessage(const QString& message);
    static void logError(const QString& message);
    static void logWarning(const QString& message);

    // The line as the log writes it: "• <date>: <message>\n".
    static QString formattedLine(const QString& message);
    static QColor colorForSeverity(Severity severity);
    static QString systemLogPrefix(Severity severity);

    void setView(VMLogView* view);
    VMLogView* view() const { return _view; }

    void show();
    void hide();
    bool isVisible() const;
    void clearText();

    // While a hold lives, the lines logged on the thread that made it go into `into` instead of
    // being written; `logHeld()` writes them later. For one job split over threads whose lines must
    // read as if its pieces ran one after another.
    using HeldLines = QList<std::pair<Severity, QString>>;
    class Hold
    {
    public:
        explicit Hold(HeldLines* into);
        ~Hold();
        Hold(const Hold&) = delete;
        Hold& operator=(const Hold&) = delete;

    private:
        friend class VMLogger;
        Hold* _outer;
        HeldLines* _into;
    };
    static void logHeld(const HeldLines& lines);

    // Main thread only.
    void _logMessage(const QString& message);
    void _logError(const QString& message);
    void _logWarning(const QString& message);

signals:
    // Every line written, after it reached the view; for observers such as tests.
    void lineLogged(const QString& line, VMLogger::Severity severity);

private:
    explicit VMLogger(QObject* parent = nullptr);
    static void dispatch(Severity severity, const QString& message);
    void write(Severity severity, const QString& message);

    VMLogView* _view = nullptr;
};
