#pragma once

#include <QWidget>

class QPushButton;
class QTextBrowser;

// The licence agreement: its text and the "Agree" and "Don't Agree" buttons. Shown application
// modal; the rest of the application (downloads, timers) keeps running while it waits.
class LVLicenseAgreementWindow : public QWidget
{
    Q_OBJECT
public:
    explicit LVLicenseAgreementWindow(QWidget* parent = nullptr);

    QTextBrowser* licenseAgreementTextView() const { return _licenseAgreementTextView; }
    QPushButton* agreeButton() const { return _agreeButton; }
    QPushButton* dontAgreeButton() const { return _dontAgreeButton; }

    // Replaces the whole text: HTML when there is some, else the plain text; in `textColor` on a
    // clear background.
    void setAgreementText(const QString& html, const QString& plainText, const QColor& textColor);

signals:
    void agreed();
    void declined();

protected:
    void closeEvent(QCloseEvent* event) override;

private:
    QTextBrowser* _licenseAgreementTextView = nullptr;
    QPushButton* _agreeButton = nullptr;
    QPushButton* _dontAgreeButton = nullptr;
};
