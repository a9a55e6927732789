// SPDX-License-Identifier: GPL-3.0-or-later
#include "views/frmData.h"
#include "shared/Icons.h"
#include "shared/Picture.h"
#include "views/Exports.h"

#include "acquire/Jobs.h"
#include "acquire/TableJob.h"
#include "controller/CtrlData.h"
#include "platform/Faults.h"
#include "platform/FileDialog.h"
#include "platform/MsgBox.h"
#include "platform/SafeFile.h"
#include "platform/Status.h"
#include "shared/AppIdentity.h"
#include "shared/LoadLanguage.h"
#include "shared/SoftwareSetting.h"
#include "shared/StringRES.h"
#include "sheet/SheetRecords.h"

#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QPointer>
#include <QRadioButton>
#include <QShortcut>
#include <QTableView>
#include <QTimer>
#include <QToolButton>
#include <QVBoxLayout>

namespace {
QString text(const char* control) {
    return FormText("frmData", control);
}
bool chinese() {
    return CaptionLanguage() == kLanguageChinese;
}
const char* const kSources[3] = {"CH1", "CH2", "LA"};

// A row number as the export writes it: a blank for the sign, the digits, a blank.
QString printedNumber(int n) {
    return (n < 0 ? QString() : QStringLiteral(" ")) + QString::number(n) + " ";
}
} // namespace

// ---- the model ------------------------------------------------------------------------

DataTableModel::DataTableModel(QObject* parent) : QAbstractTableModel(parent) {}

void DataTableModel::setRecord(const DataRecord* record) {
    beginResetModel();
    record_ = record;
    endResetModel();
}

void DataTableModel::reset() {
    beginResetModel();
    endResetModel();
}

int DataTableModel::rowCount(const QModelIndex& parent) const {
    if (parent.isValid() || !record_ || !record_->Loaded) return 0;
    const int available =
        static_cast<int>(std::min(record_->VoltText.size(), record_->TimeText.size())) - 1;
    return std::max(0, std::min(record_->RowCount, available));
}

int DataTableModel::columnCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : 3;
}

QVariant DataTableModel::data(const QModelIndex& index, int role) const {
    if (role != Qt::DisplayRole || !record_ || !index.isValid()) return {};
    const auto row = static_cast<std::size_t>(index.row() + 1);
    switch (index.column()) {
    case 0:
        return QString::number(index.row() + 1);
    case 1:
        return record_->TimeText[row];
    default:
        return record_->VoltText[row];
    }
}

QVariant DataTableModel::headerData(int section, Qt::Orientation o, int role) const {
    if (role != Qt::DisplayRole || o != Qt::Horizontal) return {};
    const char* keys[3] = {"colNo", "colTime", "colVoltage"};
    return FormText("frmData", keys[std::clamp(section, 0, 2)]);
}

QByteArray DataExportBytes(const DataRecord& rec) {
    const QString crlf = QStringLiteral("\r\n");
    QString out = MakerName + " -[Data]" + crlf;
    out += crlf + crlf + crlf;
    out += SettingLineForFile(rec.Title) + crlf; // a file keeps the point
    out += crlf + crlf;
    out += "NO.\tTime\tVoltage" + crlf;
    out += crlf;
    for (int i = 1; i <= rec.RowCount; ++i) {
        const auto at = static_cast<std::size_t>(i);
        const QString time = at < rec.TimeText.size() ? rec.TimeText[at] : QString();
        const QString volt = at < rec.VoltText.size() ? rec.VoltText[at] : QString();
        out += printedNumber(i) + "\t" + time + "\t" + volt + crlf;
    }
    return out.toUtf8();
}

// ---- the window -----------------------------------------------------------------------

frmData::frmData(int slot) : DocWindow(DocKind::Data, slot) {
    setObjectName("frmData");
    auto* top = new QHBoxLayout;
    cmdRefresh_ = new QToolButton;
    cmdRefresh_->setIcon(ThemeIcon("view-refresh"));
    cmdRefresh_->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    cmdRefresh_->setMinimumHeight(36);
    connect(cmdRefresh_, &QToolButton::clicked, this,
            platform::Guarded("cmdRefresh_Click", [this] { cmdRefresh_Click(); }));
    top->addWidget(cmdRefresh_);
    for (int i = 0; i < 3; ++i) {
        OptionCH_[i] = new QRadioButton(kSources[i]);
        OptionCH_[i]->setAutoExclusive(false);
        connect(OptionCH_[i], &QRadioButton::clicked, this,
                [this, i] { platform::RunHandler("OptionCH_Click", [&] { OptionCH_Click(i); }); });
        top->addWidget(OptionCH_[i]);
    }
    cmdExport_ = new QToolButton;
    cmdExport_->setIcon(ThemeIcon("document-save-as"));
    cmdExport_->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    connect(cmdExport_, &QToolButton::clicked, this,
            platform::Guarded("cmdExport_Click", [this] { cmdExport_Click(); }));
    top->addWidget(cmdExport_);
    top->addStretch(1);
    SettingLabel_ = new QLabel;
    SettingLabel_->setTextInteractionFlags(Qt::TextSelectableByMouse);
    model_ = new DataTableModel(this);
    MeasureView_ = new QTableView;
    MeasureView_->setModel(model_);
    MeasureView_->verticalHeader()->hide();
    MeasureView_->verticalHeader()->setDefaultSectionSize(20);
    MeasureView_->setSelectionBehavior(QAbstractItemView::SelectRows);
    MeasureView_->horizontalHeader()->setStretchLastSection(true);
    MeasureView_->setColumnWidth(0, 70);
    MeasureView_->setColumnWidth(1, 130);
    auto* layout = new QVBoxLayout(this);
    layout->addLayout(top);
    layout->addWidget(SettingLabel_);
    layout->addWidget(MeasureView_, 1);
    auto* f5 = new QShortcut(QKeySequence(Qt::Key_F5), this);
    f5->setContext(Qt::WidgetWithChildrenShortcut);
    connect(f5, &QShortcut::activated, this,
            platform::Guarded("cmdRefresh_Click", [this] { cmdRefresh_Click(); }));

    const RefreshTimers timers = MakeRefreshTimers(this, [this] { Timer1_Timer(); });
    Timer1_ = timers.Timer1;
    Timer2_ = timers.Timer2;
    captionRoutine_ = AddCaptionRoutine([this](int index) { applyCaptions(index); });
    applyCaptions(CaptionLanguage());
    resize(480, 420);
    Timer1_->start();
}

frmData::~frmData() {
    RemoveCaptionRoutine(captionRoutine_);
    EndOwnAutoRefresh(RefreshKind::Data, Tag(), record().AutoRunning);
}

DataRecord& frmData::record() const {
    return DataRecords[Tag()];
}

void frmData::applyCaptions(int index) {
    if (index != kLanguageChinese && index != kLanguageEnglish) return;
    cmdRefresh_->setText(text("cmdRefresh").trimmed());
    cmdRefresh_->setToolTip(text("cmdRefresh.tip"));
    cmdExport_->setText(text("cmdExport"));
    model_->reset();
}

void frmData::selectOption(int index) {
    settingUp_ = true;
    for (int i = 0; i < 3; ++i)
        OptionCH_[i]->setChecked(i == index);
    settingUp_ = false;
}

void frmData::Timer1_Timer() {
    DataRecord& r = record();
    if (firstTick_) {
        firstTick_ = false;
        Timer1_->setInterval(500);
        const int at = r.Source == QLatin1String("CH2")  ? 1
                       : r.Source == QLatin1String("LA") ? 2
                                                         : 0;
        selectOption(at);
        ShowRecord();
    }
    const bool on[3] = {CtrlData.Ch1Display == WordOn, CtrlData.Ch2Display == WordOn,
                        CtrlData.LaDisplay == WordOn};
    for (int i = 0; i < 3; ++i)
        OptionCH_[i]->setEnabled(on[i]);
    // A checked option that went off hands the choice to the next one available.
    for (int i = 0; i < 3; ++i) {
        if (!OptionCH_[i]->isChecked() || on[i]) continue;
        int next = -1;
        for (int k = 1; k <= 2 && next < 0; ++k)
            if (on[(i + k) % 3]) next = (i + k) % 3;
        selectOption(next);
        if (next >= 0) r.Source = kSources[next];
        break;
    }
}

void frmData::OptionCH_Click(int index) {
    if (settingUp_) return;
    selectOption(index);
    record().Source = kSources[index];
    SheetDirty = true;
}

void frmData::ShowRecord() {
    setWindowTitle(DocCaption(DocKind::Data, Tag()));
    const DataRecord& r = record();
    SettingLabel_->setText(r.Loaded ? r.Title : QString());
    model_->setRecord(&r);
}

RefreshWindow frmData::refreshWindow() {
    return RefreshWindowOf(this, cmdRefresh_, Timer2_, &frmData::LoadData);
}

void frmData::cmdRefresh_Click() {
    RunRefreshCycle(RefreshKind::Data, refreshWindow());
}

void frmData::LoadData() {
    const QString caption = chinese() ? QString::fromUtf8("波形数据的数据下载中...")
                                      : QStringLiteral("Wave Data Data Loading...");
    int kind = 0;
    for (int i = 0; i < 3; ++i)
        if (OptionCH_[i]->isChecked()) kind = kJobTableCh1 + i;
    if (kind == 0) return;
    QPointer<frmData> self(this);
    const int slot = Tag();
    RunJob(kind, caption, slot);
    if (!self) return;
    if (!JobSucceeded()) return; // the link went: the earlier table stays
    if (!JobWarning.isEmpty()) platform::ShowStatus(JobWarning);
    TakeTableJob(record(), kSources[kind - kJobTableCh1]);
    SheetDirty = true;
    ShowRecord();
    cmdRefresh_->setFocus();
}

void frmData::cmdExport_Click() {
    if (const std::optional<QString> path = AskTextExportPath())
        WriteExport(*path, DataExportBytes(record()));
}

bool frmData::MayClose() const {
    return !JobRunning && !RefreshMark;
}

void frmData::EndAuto() {
    EndAutoRefresh(RefreshKind::Data, refreshWindow());
}

void frmData::Unload() {
    if (!AutoRefreshActive(RefreshKind::Data)) return;
    DocWindow* running = nullptr;
    if (ActiveRefreshSlot >= 0 && ActiveRefreshSlot < DocCount(DocKind::Data))
        running = DocForm(DocKind::Data, ActiveRefreshSlot);
    if (auto* data = qobject_cast<frmData*>(running))
        data->EndAuto();
    else
        SetAutoRefreshActive(RefreshKind::Data, false);
}

void RegisterDataWindow() {
    SetDocWindowFactory(DocKind::Data, [](int slot) -> DocWindow* { return new frmData(slot); });
}
