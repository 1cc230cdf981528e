#pragma once

#include "widgets/LVAlertPresenter.h"

#include <QList>

// Takes the place of the alert presenter: keeps each alert shown and lets the test answer it.
class TestAlertPresenter : public LVAlertPresenter
{
public:
    void present(const LVAlert& alert, QWidget* window, Completion completion) override;

    QList<LVAlert> alerts() const { return _alerts; }
    int pendingCount() const { return int(_pending.size()); }
    // Answers the oldest open alert with `response` (alertFirstButtonReturn, ...); false when none is open.
    bool answer(int response);
    QWidget* lastWindow() const { return _lastWindow; }

private:
    QList<LVAlert> _alerts;
    QList<Completion> _pending;
    QWidget* _lastWindow = nullptr;
};
