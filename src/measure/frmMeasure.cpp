// SPDX-License-Identifier: GPL-3.0-or-later
#include "measure/frmMeasure.h"

#include "measure/TrendPlot.h"
#include "shared/Icons.h"
#include "shared/Picture.h"
#include "views/Exports.h"

#include "acquire/Jobs.h"
#include "controller/CtrlData.h"
#include "measure/MeasureTable.h"
#include "measure/frmPassFailed.h"
#include "platform/Faults.h"
#include "platform/FileDialog.h"
#include "platform/MsgBox.h"
#include "platform/SafeFile.h"
#include "platform/Status.h"
#include "shared/LoadLanguage.h"
#include "shared/SoftwareSetting.h"
#include "shared/StringRES.h"
#include "sheet/SheetRecords.h"

#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QPainter>
#include <QPointer>
#include <QRadioButton>
#include <QResizeEvent>
#include <QShortcut>
#include <QTimer>
#include <QToolButton>
#include <QTreeWidget>
#include <QVBoxLayout>

namespace {
QString text(const char* control) {
    return FormText("frmMeasure", control);
}
bool chinese() {
    return CaptionLanguage() == kLanguageChinese;
}

QColor familyColour(MeasureFamily family) {
    switch (family) {
    case MeasureFamily::Volt:
        return QColor(200, 150, 20);
    case MeasureFamily::Frequency:
        return QColor(40, 120, 200);
    case MeasureFamily::Time:
        return QColor(60, 150, 90);
    case MeasureFamily::Percent:
        break;
    }
    return QColor(150, 80, 160);
}

QIcon verdictMarker(bool pass) {
    QPixmap pixmap(12, 12);
    pixmap.fill(Qt::transparent);
    QPainter p(&pixmap);
    p.setRenderHint(QPainter::Antialiasing);
    p.setBrush(pass ? QColor(40, 170, 60) : QColor(210, 40, 40));
    p.setPen(Qt::NoPen);
    p.drawEllipse(1, 1, 10, 10);
    return QIcon(pixmap);
}
} // namespace

QIcon MeasureIcon(int number) {
    MeasureFamily family = MeasureFamily::Volt;
    for (const MeasureRow& row : MeasureRows())
        if (row.icon == number) family = row.family;
    QPixmap pixmap(16, 16);
    pixmap.fill(Qt::transparent);
    QPainter p(&pixmap);
    p.setRenderHint(QPainter::Antialiasing);
    p.setBrush(familyColour(family));
    p.setPen(Qt::NoPen);
    p.drawRoundedRect(0, 0, 16, 16, 3, 3);
    p.setPen(Qt::white);
    QFont f = p.font();
    f.setPixelSize(9);
    f.setBold(true);
    p.setFont(f);
    p.drawText(QRect(0, 0, 16, 16), Qt::AlignCenter, QString::number(number));
    return QIcon(pixmap);
}

frmMeasure::frmMeasure(int slot) : DocWindow(DocKind::Measure, slot) {
    setObjectName("frmMeasure");
    auto* top = new QHBoxLayout;
    auto button = [top](QToolButton*& b, const char* icon) {
        b = new QToolButton;
        b->setIcon(ThemeIcon(icon));
        b->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
        b->setMinimumHeight(34);
        top->addWidget(b);
    };
    button(cmdRefresh_, "view-refresh");
    for (int i = 0; i < 2; ++i) {
        OptionCH_[i] = new QRadioButton(i == 0 ? "CH1" : "CH2");
        OptionCH_[i]->setAutoExclusive(false);
        connect(OptionCH_[i], &QRadioButton::clicked, this, [this, i] { select(i); });
        top->addWidget(OptionCH_[i]);
    }
    button(cmdPassFailed_, "dialog-ok-apply");
    button(cmdExport_, "document-save-as");
    button(cmdStats_, "korvane-measure");
    button(cmdStatsReset_, "edit-undo");
    button(cmdStatsExport_, "text-csv");
    cmdStats_->setObjectName("cmdStats");
    cmdStatsReset_->setObjectName("cmdStatsReset");
    cmdStatsExport_->setObjectName("cmdStatsExport");
    cmdStats_->setCheckable(true);
    connect(cmdStats_, &QToolButton::toggled, this, [this](bool on) {
        platform::RunHandler("cmdStats_Click", [&] { ShowStatistics(on); });
    });
    connect(cmdStatsReset_, &QToolButton::clicked, this,
            platform::Guarded("cmdStatsReset_Click", [this] { ResetStatistics(); }));
    connect(cmdStatsExport_, &QToolButton::clicked, this,
            platform::Guarded("cmdStatsExport_Click", [this] { ExportStatistics(); }));
    top->addStretch(1);
    connect(cmdRefresh_, &QToolButton::clicked, this,
            platform::Guarded("cmdRefresh_Click", [this] { cmdRefresh_Click(); }));
    connect(cmdExport_, &QToolButton::clicked, this,
            platform::Guarded("cmdExport_Click", [this] { cmdExport_Click(); }));
    connect(cmdPassFailed_, &QToolButton::clicked, this,
            platform::Guarded("cmdPassFailed_Click", [this] { cmdPassFailed_Click(); }));
    SettingLabel_ = new QLabel;
    SettingLabel_->setTextInteractionFlags(Qt::TextSelectableByMouse);
    MeasureView_ = new QTreeWidget;
    MeasureView_->setRootIsDecorated(false);
    MeasureView_->setColumnCount(5);
    MeasureView_->setUniformRowHeights(true);
    // Each column as wide as its texts, the verdicts taking the rest: every
    // column shows without a scroll bar in a window of 800x600.
    MeasureView_->header()->setMinimumSectionSize(30);
    MeasureView_->header()->setSectionResizeMode(QHeaderView::ResizeToContents);
    MeasureView_->header()->setStretchLastSection(true);
    trend_ = new TrendPlot;
    trend_->hide();
    cmdStatsReset_->hide();
    cmdStatsExport_->hide();
    connect(MeasureView_, &QTreeWidget::currentItemChanged, this, [this] { showTrend(); });
    auto* layout = new QVBoxLayout(this);
    layout->addLayout(top);
    layout->addWidget(SettingLabel_);
    layout->addWidget(MeasureView_, 1);
    layout->addWidget(trend_);
    auto* f5 = new QShortcut(QKeySequence(Qt::Key_F5), this);
    f5->setContext(Qt::WidgetWithChildrenShortcut);
    connect(f5, &QShortcut::activated, this,
            platform::Guarded("cmdRefresh_Click", [this] { cmdRefresh_Click(); }));
    const RefreshTimers timers = MakeRefreshTimers(this, [this] { Timer1_Timer(); });
    Timer1_ = timers.Timer1;
    Timer2_ = timers.Timer2;
    captionRoutine_ = AddCaptionRoutine([this](int index) { applyCaptions(index); });
    applyCaptions(CaptionLanguage());
    resize(620, 520);
    Timer1_->start();
}

frmMeasure::~frmMeasure() {
    RemoveCaptionRoutine(captionRoutine_);
    EndOwnAutoRefresh(RefreshKind::Measure, Tag(), record().AutoRunning);
}

MeasureRecord& frmMeasure::record() const {
    return MeasureRecords[Tag()];
}

void frmMeasure::resizeEvent(QResizeEvent* event) {
    DocWindow::resizeEvent(event);
    // A narrow window keeps every tool whole: icons only, names in the tool tips.
    const bool narrow = width() < (cmdStats_->isChecked() ? 760 : 520);
    for (QToolButton* b : {cmdPassFailed_, cmdExport_, cmdStats_, cmdStatsReset_, cmdStatsExport_})
        b->setToolButtonStyle(narrow ? Qt::ToolButtonIconOnly : Qt::ToolButtonTextBesideIcon);
}

void frmMeasure::applyCaptions(int index) {
    if (index != kLanguageChinese && index != kLanguageEnglish) return;
    cmdRefresh_->setText(text("cmdRefresh").trimmed());
    cmdRefresh_->setToolTip(text("cmdRefresh.tip"));
    cmdExport_->setText(text("cmdExport"));
    cmdPassFailed_->setText(text("cmdPassFail").trimmed());
    const bool zh = index == kLanguageChinese;
    cmdStats_->setText(zh ? QString::fromUtf8("统计") : QStringLiteral("Statistics"));
    cmdStats_->setToolTip(
        zh ? QString::fromUtf8("各测量在多次刷新中的最小、最大、平均、标准差与次数")
           : QStringLiteral("Each measure's minimum, maximum, mean, standard "
                            "deviation and count over the refreshes"));
    cmdStatsReset_->setText(zh ? QString::fromUtf8("清零") : QStringLiteral("Reset"));
    cmdStatsExport_->setText(zh ? QString::fromUtf8("输出统计")
                                : QStringLiteral("Export statistics"));
    if (cmdStats_->isChecked())
        MeasureView_->setHeaderLabels(
            zh ? QStringList{text("colType"), text("colValue"), QString::fromUtf8("最小"),
                             QString::fromUtf8("最大"), QString::fromUtf8("平均"),
                             QString::fromUtf8("标准差"), QString::fromUtf8("次数"),
                             QString::fromUtf8("通过/失败")}
               : QStringList{text("colType"), text("colValue"), "Min", "Max", "Mean", "Std dev",
                             "Count", "Pass/Fail"});
    else
        MeasureView_->setHeaderLabels({text("colType"), text("colValue"), text("colUnder"),
                                       text("colOver"), text("colPassFail")});
    if (!firstTick_) ShowRecord();
}

void frmMeasure::select(int index) {
    for (int i = 0; i < 2; ++i)
        OptionCH_[i]->setChecked(i == index);
}

void frmMeasure::Timer1_Timer() {
    const bool ch1 = CtrlData.Ch1Display == WordOn, ch2 = CtrlData.Ch2Display == WordOn;
    if (!ch1 || !ch2) {
        OptionCH_[0]->setEnabled(ch1);
        if (!ch1) OptionCH_[0]->setChecked(false);
        if (ch1) OptionCH_[0]->setChecked(true);
        OptionCH_[1]->setEnabled(ch2);
        if (!ch2) OptionCH_[1]->setChecked(false);
        if (ch2 && !OptionCH_[0]->isChecked()) OptionCH_[1]->setChecked(true);
    } else {
        OptionCH_[0]->setEnabled(true);
        OptionCH_[1]->setEnabled(true);
        if (!OptionCH_[0]->isChecked() && !OptionCH_[1]->isChecked()) select(0);
    }
    if (firstTick_) {
        firstTick_ = false;
        Timer1_->setInterval(500);
        record().Used = true;
        ShowRecord();
    }
}

void frmMeasure::ShowRecord() {
    setWindowTitle(DocCaption(DocKind::Measure, Tag()));
    if (cmdStats_->isChecked())
        dispStatistics();
    else if (record().Loaded)
        DispMeasure();
    else
        StartDispMeasure();
}

void frmMeasure::StartDispMeasure() {
    MeasureView_->clear();
    SettingLabel_->clear();
    for (const MeasureRow& row : MeasureRows()) {
        auto* item = new QTreeWidgetItem(MeasureView_, QStringList(MeasureRowName(row)));
        item->setIcon(0, MeasureIcon(row.icon));
    }
}

void frmMeasure::DispMeasure() {
    MeasureRecord& r = record();
    SettingLabel_->setText(r.SettingText);
    MeasureView_->clear();
    for (const MeasureRow& row : MeasureRows()) {
        MeasureItem& m = r.Items[static_cast<std::size_t>(row.slot)];
        const MeasureCells cells = CellsFor(r, row);
        auto* item = new QTreeWidgetItem(MeasureView_, {MeasureRowName(row), cells.value,
                                                        cells.under, cells.over, cells.verdict});
        item->setIcon(0, MeasureIcon(row.icon));
        m.Verdict = cells.verdict;
        if (!cells.verdict.isEmpty()) {
            // A failure is seen at a glance; the text stays what it is.
            const bool pass = VerdictPasses(cells.verdict);
            item->setIcon(4, verdictMarker(pass));
            item->setForeground(4, pass ? QColor(30, 140, 50) : QColor(200, 30, 30));
        }
    }
}

RefreshWindow frmMeasure::refreshWindow() {
    return RefreshWindowOf(this, cmdRefresh_, Timer2_, &frmMeasure::LoadMeasureMarked);
}

void frmMeasure::LoadMeasureMarked() {
    QPointer<frmMeasure> self(this);
    loading_ = true; // a close waits for the fetch
    LoadMeasure();
    if (self) loading_ = false;
}

void frmMeasure::cmdRefresh_Click() {
    RunRefreshCycle(RefreshKind::Measure, refreshWindow());
}

void frmMeasure::LoadMeasure() {
    const QString caption = chinese() ? QString::fromUtf8("测量数据下载中...")
                                      : QStringLiteral("Measure Data Loading...");
    int kind = 0;
    if (OptionCH_[0]->isChecked())
        kind = 1;
    else if (OptionCH_[1]->isChecked())
        kind = 2;
    if (!OptionCH_[0]->isEnabled() && !OptionCH_[1]->isEnabled()) return;
    if (kind == 0) return;
    QPointer<frmMeasure> self(this);
    RunJob(kind, caption, Tag());
    if (!self) return;
    if (!JobSucceeded()) return; // the link went: the earlier values stay
    if (!JobWarning.isEmpty()) platform::ShowStatus(JobWarning);
    TakeCurrentMeasure(record());
    SheetDirty = true;
    AddRefresh(stats_, record());
    if (cmdStats_->isChecked())
        dispStatistics();
    else
        DispMeasure();
}

void frmMeasure::ShowStatistics(bool on) {
    cmdStatsReset_->setVisible(on);
    cmdStatsExport_->setVisible(on);
    trend_->setVisible(on);
    MeasureView_->setColumnCount(on ? 8 : 5);
    QResizeEvent same(size(), size());
    resizeEvent(&same);               // the tools' style for the buttons now shown
    applyCaptions(CaptionLanguage()); // the headings, then the list
    ShowRecord();
}

void frmMeasure::ResetStatistics() {
    stats_.reset();
    dispStatistics();
}

void frmMeasure::ExportStatistics() {
    if (const std::optional<QString> path = AskTextExportPath())
        WriteExport(*path, MeasureStatsExportBytes(record(), stats_));
}

void frmMeasure::dispStatistics() {
    const int chosen = MeasureView_->currentIndex().row();
    MeasureView_->clear();
    for (const MeasureRow& row : MeasureRows()) {
        const MeasureStat& st = stats_.items[static_cast<std::size_t>(row.slot)];
        QStringList cells{MeasureRowName(row)};
        for (const QString& figure : StatFigures(row, st))
            cells << ShownForm(figure); // the value column's decimal sign
        cells << QString::number(st.count)
              << (st.passed + st.failed > 0 ? QString("%1/%2").arg(st.passed).arg(st.failed)
                                            : QString());
        auto* item = new QTreeWidgetItem(MeasureView_, cells);
        item->setIcon(0, MeasureIcon(row.icon));
        if (st.failed > 0) item->setForeground(7, QColor(200, 30, 30));
    }
    if (chosen >= 0) MeasureView_->setCurrentItem(MeasureView_->topLevelItem(chosen));
    showTrend();
}

void frmMeasure::showTrend() {
    const int at = MeasureView_->currentIndex().row();
    if (!cmdStats_->isChecked() || at < 0 || at >= 18) {
        trend_->setMeasure(nullptr, nullptr);
        return;
    }
    const MeasureRow& row = MeasureRows()[static_cast<std::size_t>(at)];
    trend_->setMeasure(&row, &stats_.items[static_cast<std::size_t>(row.slot)]);
}

void frmMeasure::cmdExport_Click() {
    if (const std::optional<QString> path = AskTextExportPath())
        WriteExport(*path, MeasureExportBytes(record()));
}

void frmMeasure::cmdPassFailed_Click() {
    frmPassFailed dialog(Tag(), windowTitle(), this);
    dialog.exec();
    if (!LimitsChanged) return;
    if (!record().Loaded)
        StartDispMeasure();
    else
        DispMeasure();
}

bool frmMeasure::MayClose() const {
    return !JobRunning && !loading_;
}

void frmMeasure::EndAuto() {
    EndAutoRefresh(RefreshKind::Measure, refreshWindow());
}

void frmMeasure::Unload() {
    record().Used = false;
    if (!AutoRefreshActive(RefreshKind::Measure)) return;
    DocWindow* running = nullptr;
    if (ActiveRefreshSlot >= 0 && ActiveRefreshSlot < DocCount(DocKind::Measure))
        running = DocForm(DocKind::Measure, ActiveRefreshSlot);
    if (auto* m = qobject_cast<frmMeasure*>(running))
        m->EndAuto();
    else
        SetAutoRefreshActive(RefreshKind::Measure, false);
}

void RegisterMeasureWindow() {
    SetDocWindowFactory(DocKind::Measure,
                        [](int slot) -> DocWindow* { return new frmMeasure(slot); });
}
