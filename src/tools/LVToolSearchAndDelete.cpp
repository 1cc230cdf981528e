#include "LVToolSearchAndDelete.h"
#include "ui_LVToolSearchAndDelete.h"

#include "engines/LVScriptRun.h"
#include "foundation/VMLog.h"
#include "platform/Platform.h"

#include <QAbstractTableModel>
#include <QCloseEvent>
#include <QFile>
#include <QFileInfo>
#include <QHeaderView>
#include <QItemSelectionModel>
#include <algorithm>

namespace {

const QStringList kColumns = {QStringLiteral("checkID"), QStringLiteral("nameID"), QStringLiteral("pathID")};

// Shows the tool's rows; every question goes to the tool's data-source functions.
class SearchResultsModel : public QAbstractTableModel
{
public:
    explicit SearchResultsModel(LVToolSearchAndDelete* tool) : QAbstractTableModel(tool), _tool(tool) {}

    void reload()
    {
        beginResetModel();
        endResetModel();
    }

    int rowCount(const QModelIndex& parent = QModelIndex()) const override
    {
        return parent.isValid() ? 0 : _tool->numberOfRowsInTableView();
    }
    int columnCount(const QModelIndex& parent = QModelIndex()) const override
    {
        return parent.isValid() ? 0 : int(kColumns.size());
    }

    QVariant data(const QModelIndex& index, int role) const override
    {
        if (!index.isValid())
            return QVariant();
        const QString column = kColumns.value(index.column());
        if (column == QLatin1String("checkID")) {
            if (role == Qt::CheckStateRole)
                return _tool->objectValueForTableColumn(column, index.row()).toBool() ? Qt::Checked : Qt::Unchecked;
            if (role == Qt::AccessibleTextRole)
                return _tool->objectValueForTableColumn(QStringLiteral("nameID"), index.row());
            return QVariant();
        }
        if (role == Qt::DisplayRole || role == Qt::ToolTipRole)
            return _tool->objectValueForTableColumn(column, index.row());
        return QVariant();
    }

    bool setData(const QModelIndex& index, const QVariant& value, int role) override
    {
        if (!index.isValid() || role != Qt::CheckStateRole)
            return false;
        const bool checked = value.value<Qt::CheckState>() == Qt::Checked || value.toInt() == Qt::Checked;
        _tool->setObjectValueForTableColumn(checked, kColumns.value(index.column()), index.row());
        emit dataChanged(index, index, {Qt::CheckStateRole});
        return true;
    }

    Qt::ItemFlags flags(const QModelIndex& index) const override
    {
        Qt::ItemFlags flags = QAbstractTableModel::flags(index);
        if (index.isValid() && index.column() == 0)
            flags |= Qt::ItemIsUserCheckable;
        return flags;
    }

    QVariant headerData(int section, Qt::Orientation orientation, int role) const override
    {
        if (orientation != Qt::Horizontal || (role != Qt::DisplayRole && role != Qt::AccessibleTextRole))
            return QVariant();
        switch (section) {
        case 0:
            return role == Qt::AccessibleTextRole ? QStringLiteral("Check") : QString();
        case 1:
            return QStringLiteral("Name");
        case 2:
            return QStringLiteral("Path");
        default:
            return QVariant();
        }
    }

private:
    LVToolSearchAndDelete* _tool;
};

} // namespace

LVToolSearchAndDelete* LVToolSearchAndDelete::sharedManager()
{
    static LVToolSearchAndDelete* const instance = new LVToolSearchAndDelete;
    return instance;
}

LVToolSearchAndDelete::LVToolSearchAndDelete() : _alertPresenter(std::make_shared<LVAlertPresenter>())
{
    auto* panel = new QWidget(nullptr, Qt::Window);
    Ui::LVToolSearchAndDelete ui;
    ui.setupUi(panel);
    _panel = panel;
    _tableView = ui._tableView;
    _searchResultInfo = ui._searchResultInfo;
    _deleteFilesButton = ui._deleteFilesButton;
    _showInFinderButton = ui._showInFinderButton;
    _searchButton = ui._searchButton;

    auto* model = new SearchResultsModel(this);
    _model = model;
    _tableView->setModel(model);
    _tableView->horizontalHeader()->setMinimumSectionSize(28);
    _tableView->horizontalHeader()->setSectionResizeMode(0, QHeaderView::Fixed);
    _tableView->horizontalHeader()->resizeSection(0, 32);
    _tableView->horizontalHeader()->resizeSection(1, 200);
    connect(_tableView->selectionModel(), &QItemSelectionModel::selectionChanged, this,
            &LVToolSearchAndDelete::tableViewSelectionDidChange);
    connect(ui._searchButton, &QPushButton::clicked, this, &LVToolSearchAndDelete::searchButtonAction);
    connect(ui._deleteFilesButton, &QPushButton::clicked, this, &LVToolSearchAndDelete::deleteButtonAction);
    connect(ui._cancelButton, &QPushButton::clicked, this, &LVToolSearchAndDelete::cancelButtonAction);
    connect(ui._showInFinderButton, &QPushButton::clicked, this, &LVToolSearchAndDelete::showInFinderButtonAction);
    panel->installEventFilter(this);

    _deleteFilesButton->setEnabled(false);
    _showInFinderButton->setEnabled(false);
}

QStringList LVToolSearchAndDelete::bundleIdentifiers()
{
    return {QStringLiteral("com.quarnet.FxPlug.Hollin"),     QStringLiteral("com.quarnet.FxPlug.Farrow"),
            QStringLiteral("com.quarnet.FxPlug.Tessel"),     QStringLiteral("com.quarnet.FxPlug.Marisol"),
            QStringLiteral("com.quarnet.FxPlug.Ondine"),     QStringLiteral("com.quarnet.FxPlug4.Veradis"),
            QStringLiteral("com.quarnet.FxPlug.Oskelo.app"), QStringLiteral("com.quarnet.oskelo.ignition"),
            QStringLiteral("com.quarnet.Lumivane-Manager")};
}

QStringList LVToolSearchAndDelete::excludedPathFragments()
{
    return {QStringLiteral("/Applications/Lumivane/"), QStringLiteral("/Applications/Lumivane Manager.app"),
            QStringLiteral(".Trash"), QStringLiteral("com~apple~CloudDocs"), QStringLiteral("/Volumes")};
}

bool LVToolSearchAndDelete::canWriteIntoScript(const QString& path)
{
    return !path.isEmpty() && std::none_of(path.begin(), path.end(), [](QChar c) {
        return c.category() == QChar::Other_Control || c == QChar::LineSeparator || c == QChar::ParagraphSeparator;
    });
}

namespace {

// The script runs as root: a name is one single-quoted word of its bytes, so it can never become a
// command. A single quote is a byte no multibyte encoding uses inside a character, and the script
// fixes its locale before any name appears, so a shell started in any locale reads it the same.
QByteArray shellQuoted(const QString& path)
{
    return '\'' + QFile::encodeName(path).replace('\'', "'\\''") + '\'';
}

} // namespace

QByteArray LVToolSearchAndDelete::moveItemsToTrashScript(const QStringList& paths)
{
    const QString trashDirectory = Platform::systemInfo().trashDirectory();
    if (paths.isEmpty() || !canWriteIntoScript(trashDirectory))
        return QByteArray();
    const QByteArray trash = shellQuoted(trashDirectory);
    QByteArray script = "#!/bin/bash\n\nexport LC_ALL=C\n";
    for (const QString& path : paths) {
        if (canWriteIntoScript(path))
            script += "mv " + shellQuoted(path) + ' ' + trash + '\n';
    }
    // Only the last move's status is printed: the run is judged by it alone.
    script += "echo $?";
    return script;
}

void LVToolSearchAndDelete::setAlertPresenter(std::shared_ptr<LVAlertPresenter> presenter)
{
    _alertPresenter = presenter ? std::move(presenter) : std::make_shared<LVAlertPresenter>();
}

void LVToolSearchAndDelete::reloadTable()
{
    static_cast<SearchResultsModel*>(_model)->reload();
    tableViewSelectionDidChange();
}

void LVToolSearchAndDelete::show()
{
    _files.clear();
    _failures.clear();
    _searchResultInfo->setText(QString());
    _deleteFilesButton->setEnabled(false);
    reloadTable();
    _panel->show();
    _panel->raise();
    _panel->activateWindow();
}

void LVToolSearchAndDelete::hide()
{
    _panel->hide();
}

void LVToolSearchAndDelete::searchButtonAction()
{
    _files.clear();
    _failures.clear();
    const QStringList excluded = excludedPathFragments();
    Workspace& workspace = Platform::workspace();
    for (const QString& identifier : bundleIdentifiers()) {
        for (const QUrl& url : workspace.URLsForApplicationsWithBundleIdentifier(identifier)) {
            const QString path = url.toLocalFile();
            if (path.isEmpty() || !QFileInfo::exists(path))
                continue;
            const bool isExcluded = std::any_of(excluded.begin(), excluded.end(), [&path](const QString& fragment) {
                return path.contains(fragment, Qt::CaseSensitive);
            });
            if (isExcluded)
                continue;
            _files.append(QVariantMap{{QStringLiteral("path"), path},
                                      {QStringLiteral("url"), url},
                                      {QStringLiteral("name"), QFileInfo(path).fileName()},
                                      {QStringLiteral("check"), false}});
        }
    }
    reloadTable();
    _deleteFilesButton->setEnabled(anyCheckedFiles());
    _searchResultInfo->setText(QStringLiteral("%1 files / applications found").arg(_files.size()));
}

void LVToolSearchAndDelete::deleteButtonAction()
{
    QStringList privileged;
    Workspace& workspace = Platform::workspace();
    const QList<QVariantMap> rows = _files;
    for (const QVariantMap& row : rows) {
        if (!row.value(QStringLiteral("check")).toBool())
            continue;
        const QUrl url = row.value(QStringLiteral("url")).toUrl();
        if (url.isEmpty())
            continue;
        QString error;
        int code = 0;
        if (workspace.moveToTrash(url.toLocalFile(), nullptr, &error, &code))
            continue;
        VM_LOG_MESSAGE(error);
        if (code == Workspace::TrashNoSuchFile)
            continue;
        if (code == Workspace::TrashNoPermission) {
            const QString path = row.value(QStringLiteral("path")).toString();
            Platform::systemLog().write(
                QStringLiteral("fileSystemRepresentation: %1").arg(QString::fromLocal8Bit(QFile::encodeName(path))));
            if (path.isNull())
                continue;
            // A name the script can't hold safely is left for the user to move by hand.
            if (canWriteIntoScript(path) && canWriteIntoScript(Platform::systemInfo().trashDirectory())) {
                privileged.append(path);
                continue;
            }
        }
        _failures.append(row);
    }
    if (privileged.isEmpty()) {
        complete(true);
        return;
    }
    auto* run = new LVScriptRun(this);
    connect(run, &LVScriptRun::ended, this, [this, run](bool succeeded) {
        run->deleteLater();
        complete(succeeded);
    });
    // Runs here, on the main thread: the prompt and the moves block the interface until done.
    if (!run->run(moveItemsToTrashScript(privileged))) {
        delete run;
        complete(false);
    }
}

void LVToolSearchAndDelete::cancelButtonAction()
{
    _files.clear();
    _failures.clear();
    reloadTable();
    _panel->hide();
}

void LVToolSearchAndDelete::showInFinderButtonAction()
{
    const QModelIndexList selected = _tableView->selectionModel()->selectedRows();
    if (selected.size() != 1)
        return;
    const int row = selected.first().row();
    if (row < 0 || row >= _files.size())
        return;
    Platform::workspace().revealFile(_files.at(row).value(QStringLiteral("url")).toUrl().toLocalFile());
}

void LVToolSearchAndDelete::windowWillClose()
{
    _files.clear();
    reloadTable();
}

bool LVToolSearchAndDelete::anyCheckedFiles() const
{
    return std::any_of(_files.begin(), _files.end(),
                       [](const QVariantMap& row) { return row.value(QStringLiteral("check")).toBool(); });
}

void LVToolSearchAndDelete::complete(bool success)
{
    if (_failures.isEmpty() && success) {
        searchButtonAction();
        return;
    }
    LVAlert alert(QStringLiteral("Failure moving Files to the Trash"),
                  QStringLiteral("One or more files could not be found or moved to the trash.\nPlease move them "
                                 "manually in the Finder to the trash."));
    const QString icon = QStringLiteral(":/AppIcon.png");
    if (QFile::exists(icon))
        alert.setIconName(icon);
    _alertPresenter->present(alert, _panel, nullptr);
    searchButtonAction();
}

int LVToolSearchAndDelete::numberOfRowsInTableView() const
{
    return int(_files.size());
}

QVariant LVToolSearchAndDelete::objectValueForTableColumn(const QString& column, int row) const
{
    if (row < 0 || row >= _files.size())
        return QVariant();
    const QVariantMap& file = _files.at(row);
    if (column == QLatin1String("checkID"))
        return file.value(QStringLiteral("check"));
    if (column == QLatin1String("nameID"))
        return file.value(QStringLiteral("name"));
    if (column == QLatin1String("pathID"))
        return file.value(QStringLiteral("path"));
    return QVariant();
}

void LVToolSearchAndDelete::setObjectValueForTableColumn(const QVariant& value, const QString& column, int row)
{
    if (column == QLatin1String("checkID") && row >= 0 && row < _files.size())
        _files[row].insert(QStringLiteral("check"), value.toBool());
    _deleteFilesButton->setEnabled(anyCheckedFiles());
}

void LVToolSearchAndDelete::tableViewSelectionDidChange()
{
    _showInFinderButton->setEnabled(_tableView->selectionModel()->selectedRows().size() == 1);
}

bool LVToolSearchAndDelete::eventFilter(QObject* watched, QEvent* event)
{
    if (watched == _panel && event->type() == QEvent::Close)
        windowWillClose();
    return QObject::eventFilter(watched, event);
}
