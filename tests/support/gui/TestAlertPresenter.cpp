#include "TestAlertPresenter.h"

void TestAlertPresenter::present(const LVAlert& alert, QWidget* window, Completion completion)
{
    _alerts.append(alert);
    _pending.append(std::move(completion));
    _lastWindow = window;
}

bool TestAlertPresenter::answer(int response)
{
    if (_pending.isEmpty())
        return false;
    Completion completion = _pending.takeFirst();
    if (completion)
        completion(response);
    return true;
}
