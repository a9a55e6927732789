// SPDX-License-Identifier: GPL-3.0-or-later
#include "logger/frmDataLogger.h"

#include "link/LinkState.h"
#include "link/NQ4000Cmd.h"
#include "logger/LogPlot.h"
#include "logger/LogStore.h"
#include "measure/MeasureTable.h"
#include "platform/Clock.h"
#include "platform/Faults.h"
#include "platform/FileDialog.h"
#include "platform/Pacing.h"
#include "shared/LoadLanguage.h"
#include "shared/ReplyText.h"
#include "sheet/DataSheet.h"

#include <QCheckBox>
#include <QCloseEvent>
#include <QCoreApplication>
#include <QDir>
#include <QDoubleSpinBox>
#include <QFileInfo>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QSpinBox>
#include <QThread>
#include <QTimeZone>
#include <QVBoxLayout>

namespace {

// While a log runs, every pause of the link's pacing and every slice of the
// wait between samples serves the window (Stop, the plot, a resize).
void serveEvents() {
    QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
}

QString text(const char* control) {
    return FormText("frmDataLogger", control);
}

} // namespace

MeasureRecord frmDataLogger::LimitsOfTheSheet() {
    for (int slot = 0; slot < DocCount(DocKind::Measure); ++slot) {
        const MeasureRecord& rec = MeasureRecords[slot];
        for (const MeasureItem& item : rec.Items)
            if (item.LimitEnabled) return rec;
    }
    return MeasureRecord();
}

frmDataLogger::frmDataLogger(QWidget* parent) : QWidget(parent) {
    setObjectName("frmDataLogger");
    txtMeasures_ = new QLineEdit("CH1:Vpp,CH1:Frequency,CH2:Duty+");
    txtMeasures_->setObjectName("txtMeasures");
    spnInterval_ = new QDoubleSpinBox;
    spnInterval_->setObjectName("spnInterval");
    spnInterval_->setRange(0, 86400);
    spnInterval_->setDecimals(1);
    spnInterval_->setValue(1);
    spnCount_ = new QSpinBox;
    spnCount_->setObjectName("spnCount");
    spnCount_->setRange(0, 100000000);
    spnCount_->setValue(0);
    txtDatabase_ = new QLineEdit(QDir::home().filePath("korvane-log.db"));
    txtDatabase_->setObjectName("txtDatabase");
    cmdBrowse_ = new QPushButton("...");
    cmdBrowse_->setObjectName("cmdBrowse");
    chkScreens_ = new QCheckBox;
    chkScreens_->setObjectName("chkScreens");
    cmdStart_ = new QPushButton;
    cmdStart_->setObjectName("cmdStart");
    cmdOpen_ = new QPushButton;
    cmdOpen_->setObjectName("cmdOpen");
    lblState_ = new QLabel;
    lblState_->setObjectName("lblState");
    lblState_->setWordWrap(true);
    plot_ = new LogPlot;

    auto* form = new QFormLayout;
    form->setFieldGrowthPolicy(QFormLayout::AllNonFixedFieldsGrow);
    form->setRowWrapPolicy(QFormLayout::WrapLongRows);
    auto* timing = new QHBoxLayout;
    timing->addWidget(spnInterval_);
    auto* countLabel = new QLabel;
    countLabel->setObjectName("lblCount");
    timing->addWidget(countLabel);
    timing->addWidget(spnCount_);
    timing->addStretch();
    auto* database = new QHBoxLayout;
    database->addWidget(txtDatabase_, 1);
    database->addWidget(cmdBrowse_);
    auto addRow = [&](const char* name, auto* field) {
        auto* label = new QLabel;
        label->setObjectName(name);
        form->addRow(label, field);
    };
    addRow("lblMeasures", txtMeasures_);
    addRow("lblInterval", timing);
    addRow("lblDatabase", database);
    auto* buttons = new QHBoxLayout;
    buttons->addWidget(chkScreens_);
    buttons->addStretch();
    buttons->addWidget(cmdOpen_);
    buttons->addWidget(cmdStart_);
    auto* layout = new QVBoxLayout(this);
    layout->addLayout(form);
    layout->addLayout(buttons);
    layout->addWidget(lblState_);
    layout->addWidget(plot_, 1);

    connect(cmdStart_, &QPushButton::clicked, this, [this] { cmdStart_Click(); });
    connect(cmdOpen_, &QPushButton::clicked, this,
            platform::Guarded("cmdOpen_Click", [this] { cmdOpen_Click(); }));
    connect(cmdBrowse_, &QPushButton::clicked, this, [this] {
        platform::FileDialogRequest request;
        request.save = true;
        request.title = text("Caption");
        request.filter = "SQLite (*.db)|*.db";
        request.initialPath = txtDatabase_->text();
        request.fileMustExist = false;
        request.overwritePrompt = false; // a log is appended to
        if (const std::optional<QString> path = platform::ShowFileDialog(request))
            txtDatabase_->setText(*path);
    });
    connect(plot_, &LogPlot::failingSampleClicked, this, [this](double s) { showScreen(s); });
    connect(plot_, &LogPlot::spanChosen, this,
            [this](double from, double to) { zoomTo(from, to); });
    connect(plot_, &LogPlot::wholeAsked, this, [this] {
        if (shown_ && !reader_ && !running_) readStored(*shown_, LogFilter());
    });
    applyCaptions();
    captionRoutine_ = AddCaptionRoutine([this](int) { applyCaptions(); });
}

frmDataLogger::~frmDataLogger() {
    RemoveCaptionRoutine(captionRoutine_);
    if (reader_) { // a read under way ends at its next rows
        *readCancelled_ = true;
        reader_->wait();
        delete reader_;
    }
}

void frmDataLogger::applyCaptions() {
    setWindowTitle(text("Caption"));
    for (QLabel* label : findChildren<QLabel*>())
        if (label->objectName().startsWith("lbl") && label != lblState_)
            label->setText(text(label->objectName().toUtf8().constData()));
    chkScreens_->setText(text("chkScreens"));
    cmdStart_->setText(text(running_ ? "cmdStop" : "cmdStart"));
    cmdOpen_->setText(text(reader_ ? "cmdCancel" : "cmdOpen"));
    spnCount_->setSpecialValueText(text("Endless"));
    plot_->captionsChanged();
}

void frmDataLogger::say(const QString& line) {
    lblState_->setText(line);
}

void frmDataLogger::cmdStart_Click() {
    if (running_) {
        stopAsked_ = true;
        say(text("Stopping"));
        return;
    }
    run();
}

void frmDataLogger::run() {
    QString error;
    LogRun plan;
    plan.measures = ParseLogMeasures(txtMeasures_->text(), &error);
    const std::optional<LogTarget> target = ParseLogTarget(txtDatabase_->text(), &error);
    if (plan.measures.isEmpty() || !target) return say(error);
    if (!Connected) return say(text("NotConnected"));
    if (reader_) return;
    plan.interval = spnInterval_->value();
    plan.count = spnCount_->value();
    plan.keepFailingScreens = chkScreens_->isChecked();
    plan.limits = LimitsOfTheSheet();
    store_ = std::make_unique<LogStore>(*target);
    if (!store_->open()) return say(store_->error());
    const QStringList idn = CutAtLineFeed(CmdQuery(cmd::Idn)).split(',');
    instrument_ = idn.value(2).trimmed().isEmpty() ? idn.join(',') : idn.value(2).trimmed();

    std::vector<TrendSeries> lanes;
    for (const LoggedMeasure& m : plan.measures) {
        TrendSeries s;
        s.channel = m.channelName();
        s.measure = m.name();
        s.unit = MeasureUnit(*m.row);
        const MeasureItem& limit = plan.limits.Items[static_cast<std::size_t>(m.row->slot)];
        if (limit.LimitEnabled) s.under = limit.UnderLimit, s.over = limit.OverLimit;
        lanes.push_back(std::move(s));
    }
    plot_->setSeries(std::move(lanes));
    failingTimes_.clear();
    began_ = platform::Now().toUTC();
    plot_->setOrigin(began_.toMSecsSinceEpoch() / 1000.0);

    LogEvents events;
    events.stopRequested = [this] { return stopAsked_; };
    events.sampled = [this](const QList<LogRow>& rows) {
        for (int i = 0; i < rows.size() && i < static_cast<int>(plot_->series().size()); ++i) {
            const double at = began_.msecsTo(rows[i].time) / 1000.0;
            if (rows[i].verdict == "fail") failingTimes_[at] = rows[i].time;
            plot_->series()[static_cast<std::size_t>(i)].add(at, rows[i].value.value_or(NAN),
                                                             rows[i].verdict == "fail");
        }
        plot_->seriesChanged();
    };
    events.progress = [this](qint64 samples, const QString& state) {
        say(text("Logged").arg(samples) + (state.isEmpty() ? QString() : " - " + state));
        if (state.startsWith("link lost")) // the gap: a break in every lane
            for (TrendSeries& s : plot_->series())
                s.add(began_.msecsTo(platform::Now().toUTC()) / 1000.0, NAN, false);
    };
    running_ = true;
    shown_.reset(); // the plot is the run's now
    stopAsked_ = false;
    applyCaptions();
    enableFields(false);
    platform::SetPauseHook(serveEvents);
    const LogResult result = RunDataLog(plan, *store_, instrument_, events);
    platform::SetPauseHook(nullptr);
    running_ = false;
    enableFields(true);
    applyCaptions();
    say(result.error.isEmpty() ? text("Done").arg(result.samples).arg(store_->target().shown())
                               : result.error);
    if (closeAsked_) close();
}

void frmDataLogger::enableFields(bool on) {
    for (QWidget* w : std::initializer_list<QWidget*>{txtMeasures_, spnInterval_, spnCount_,
                                                      txtDatabase_, cmdBrowse_, chkScreens_})
        w->setEnabled(on);
    cmdOpen_->setEnabled(on || reader_); // Cancel stays while reading
    cmdStart_->setEnabled(on || running_);
}

void frmDataLogger::cmdOpen_Click() {
    if (reader_) {
        *readCancelled_ = true;
        return;
    }
    if (running_) return;
    QString error;
    const std::optional<LogTarget> target = ParseLogTarget(txtDatabase_->text(), &error);
    if (!target) return say(error);
    if (target->kind == LogTarget::Kind::SQLite && !QFileInfo(target->path).isFile())
        return say(text("NoFile").arg(target->path)); // never a new empty database
    readStored(*target, LogFilter());
}

// A span of the stored log shown: read anew for that span, sample by sample
// when it is short enough, as its envelope when not.
void frmDataLogger::zoomTo(double from, double to) {
    if (!shown_ || reader_ || running_) return;
    LogFilter filter;
    auto at = [this](double seconds) {
        return QDateTime::fromMSecsSinceEpoch(std::llround((shownBegan_ + seconds) * 1000),
                                              QTimeZone::utc());
    };
    filter.from = at(from);
    filter.to = at(to);
    readStored(*shown_, filter);
}

void frmDataLogger::readStored(const LogTarget& target, const LogFilter& filter) {
    readCancelled_ = std::make_shared<std::atomic<bool>>(false);
    const std::shared_ptr<std::atomic<bool>> cancelled = readCancelled_;
    // Its own store and connection, made, used and closed on the worker.
    reader_ = QThread::create([this, target, filter, cancelled, detailRows = detailRows_] {
        StoredTrend trend;
        QString why;
        LogStore store(target);
        int shown = -1;
        const bool read = ReadLogTrend(
            store, filter, &trend,
            [&](double share) {
                const int percent = static_cast<int>(share * 100);
                if (percent != shown) {
                    shown = percent;
                    QMetaObject::invokeMethod(
                        this, [this, percent] { say(text("Reading").arg(percent)); });
                }
                return !*cancelled;
            },
            &why, detailRows);
        if (*cancelled) return;
        if (!read && why.isEmpty()) return;
        QMetaObject::invokeMethod(this,
                                  [this, trend = std::move(trend), why, target, filter]() mutable {
                                      opened(std::move(trend), why, target, filter);
                                  });
    });
    connect(reader_, &QThread::finished, this, [this] {
        reader_->deleteLater();
        reader_ = nullptr;
        enableFields(true);
        applyCaptions();
        if (*readCancelled_) say(QString());
    });
    enableFields(false);
    applyCaptions();
    say(text("Reading").arg(0));
    reader_->start();
}

void frmDataLogger::opened(StoredTrend trend, const QString& error, const LogTarget& target,
                           const LogFilter& filter) {
    if (!error.isEmpty()) return say(error);
    failingTimes_.clear();
    const QDateTime began =
        QDateTime::fromMSecsSinceEpoch(std::llround(trend.began * 1000), QTimeZone::utc());
    for (const TrendSeries& s : trend.lanes) {
        for (double at : s.failing)
            failingTimes_[at] = began.addMSecs(std::llround(at * 1000));
    }
    double last = 0;
    for (const TrendSeries& s : trend.lanes)
        if (!s.t.empty()) last = std::max(last, s.t.back());
    plot_->setSeries(std::move(trend.lanes));
    plot_->setOrigin(trend.began);
    store_ = std::make_unique<LogStore>(target); // the screens of failing samples
    instrument_.clear();                         // any instrument's
    shown_ = target;
    shownBegan_ = trend.began;
    if (!filter.from && !filter.to)
        return say(text("Opened").arg(trend.samples).arg(target.shown(), LogTimeText(began)));
    say(text("OpenedSpan")
            .arg(trend.samples)
            .arg(target.shown(), LogTimeText(began),
                 LogTimeText(began.addMSecs(std::llround(last * 1000)))));
}

void frmDataLogger::showScreen(double seconds) {
    if (!store_) return;
    const auto found = failingTimes_.find(seconds);
    if (found == failingTimes_.end()) return;
    const QDateTime at = found->second;
    const QByteArray png = store_->screen(instrument_, at);
    if (png.isEmpty()) return say(text("NoScreen"));
    auto* view = new QLabel(this, Qt::Window);
    view->setAttribute(Qt::WA_DeleteOnClose);
    view->setWindowTitle(LogTimeText(at));
    QPixmap picture;
    picture.loadFromData(png, "PNG");
    view->setPixmap(picture);
    view->show();
}

void frmDataLogger::closeEvent(QCloseEvent* event) {
    if (running_) { // stopped first; the window closes when the run has ended
        stopAsked_ = closeAsked_ = true;
        say(text("Stopping"));
        event->ignore();
        return;
    }
    event->accept();
}
