#pragma once

#include "widgets/LVAlertPresenter.h"

#include <QByteArray>
#include <QLabel>
#include <QList>
#include <QObject>
#include <QPointer>
#include <QPushButton>
#include <QStringList>
#include <QTableView>
#include <QVariantMap>
#include <memory>

class QAbstractTableModel;

// A panel that finds copies of the plug-in applications and of the manager that lie outside their
// normal place, lists them with a check box each and moves the checked ones to the Trash, asking
// for administrator rights only for the files the user may not move.
class LVToolSearchAndDelete : public QObject
{
    Q_OBJECT
public:
    static LVToolSearchAndDelete* sharedManager();

    static QStringList bundleIdentifiers();
    // Paths containing any of these (plain, case-sensitive substrings) are never listed.
    static QStringList excludedPathFragments();
    // A bash script moving each path into the user's Trash, the last move's status printed last;
    // null for no paths or an unwritable Trash path. Every character the shell would interpret is
    // backslash-escaped (a space as "\ "); a path that can't be written on one line is left out.
    static QByteArray moveItemsToTrashScript(const QStringList& paths);
    // False for a path with control characters (a newline among them): no escape keeps it one word.
    static bool canWriteIntoScript(const QString& path);

    void show();
    void hide();

    void searchButtonAction();
    void deleteButtonAction();
    void cancelButtonAction();
    void showInFinderButtonAction();
    void windowWillClose();
    bool anyCheckedFiles() const;
    void complete(bool success);

    // The table's data source: columns "checkID", "nameID", "pathID".
    int numberOfRowsInTableView() const;
    QVariant objectValueForTableColumn(const QString& column, int row) const;
    void setObjectValueForTableColumn(const QVariant& value, const QString& column, int row);
    void tableViewSelectionDidChange();

    QList<QVariantMap> files() const { return _files; }
    QList<QVariantMap> failures() const { return _failures; }
    QWidget* panel() const { return _panel; }
    QTableView* tableView() const { return _tableView; }
    QLabel* searchResultInfo() const { return _searchResultInfo; }
    QPushButton* deleteFilesButton() const { return _deleteFilesButton; }
    QPushButton* showInFinderButton() const { return _showInFinderButton; }
    QPushButton* searchButton() const { return _searchButton; }

    // Where the failure alert goes; tests put their own presenter here.
    void setAlertPresenter(std::shared_ptr<LVAlertPresenter> presenter);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    LVToolSearchAndDelete();
    void reloadTable();

    QPointer<QWidget> _panel;
    QPointer<QTableView> _tableView;
    QPointer<QLabel> _searchResultInfo;
    QPointer<QPushButton> _deleteFilesButton;
    QPointer<QPushButton> _showInFinderButton;
    QPointer<QPushButton> _searchButton;
    QAbstractTableModel* _model = nullptr;
    QList<QVariantMap> _files;
    QList<QVariantMap> _failures;
    std::shared_ptr<LVAlertPresenter> _alertPresenter;
};
