// SPDX-License-Identifier: GPL-3.0-or-later
#include "views/DecodePane.h"

#include "decode/Decoders.h"
#include "export/CaptureExport.h"
#include "platform/FileDialog.h"
#include "platform/MsgBox.h"
#include "platform/SafeFile.h"
#include "platform/Settings.h"
#include "platform/Status.h"
#include "shared/AppIdentity.h"
#include "shared/LoadLanguage.h"
#include "shared/Picture.h"
#include "shared/StringRES.h"
#include "views/DecodeDialog.h"

#include <QAbstractTableModel>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QPainter>
#include <QProgressBar>
#include <QSortFilterProxyModel>
#include <QSplitter>
#include <QTableView>
#include <QToolButton>
#include <QVBoxLayout>
#include <cmath>

namespace {

QString say(const char* english, const char* chinese) {
    return CaptionLanguage() == kLanguageChinese ? QString::fromUtf8(chinese)
                                                 : QString::fromUtf8(english);
}

// Seconds in the unit that keeps three to six figures, in the shown decimal sign.
QString timeText(double seconds) {
    static const struct {
        double scale;
        const char* unit;
    } units[] = {{1, "s"}, {1e-3, "ms"}, {1e-6, "us"}, {1e-9, "ns"}};
    for (const auto& u : units)
        if (std::abs(seconds) >= u.scale || u.scale == 1e-9)
            return ShownForm(QString::number(seconds / u.scale, 'f', 3)) + QLatin1String(u.unit);
    return QStringLiteral("0s");
}

// A colour a class, stable between runs, light enough to read black text on.
QColor classColour(int row, int cls) {
    const int hue = (row * 67 + cls * 41) % 360;
    return QColor::fromHsv(hue, 90, 245);
}

const QString kSection = QStringLiteral("Decode");

} // namespace

// ---- the table ---------------------------------------------------------------------

class AnnotationModel : public QAbstractTableModel {
public:
    using QAbstractTableModel::QAbstractTableModel;
    void setResult(const decode::DecodeResult* result) {
        beginResetModel();
        result_ = result;
        endResetModel();
    }
    int rowCount(const QModelIndex& parent) const override {
        return parent.isValid() || !result_ ? 0 : static_cast<int>(result_->annotations.size());
    }
    int columnCount(const QModelIndex&) const override { return 3; }
    QVariant data(const QModelIndex& index, int role) const override {
        if (!result_ || role != Qt::DisplayRole) return {};
        const decode::Annotation& a = result_->annotations[static_cast<std::size_t>(index.row())];
        switch (index.column()) {
        case 0:
            return timeText(result_->timeOf(a.start));
        case 1:
            return result_->rows[a.row].title();
        default:
            return a.texts.value(0);
        }
    }
    QVariant headerData(int section, Qt::Orientation o, int role) const override {
        if (o != Qt::Horizontal || role != Qt::DisplayRole) return {};
        switch (section) {
        case 0:
            return say("Time", "时间");
        case 1:
            return say("Row", "行");
        default:
            return say("Annotation", "注释");
        }
    }

private:
    const decode::DecodeResult* result_ = nullptr;
};

// ---- the pane ---------------------------------------------------------------------

DecodePane::DecodePane(const QString& kind, QWidget* parent)
    : QWidget(parent), kind_(kind), model_(new AnnotationModel(this)),
      proxy_(new QSortFilterProxyModel(this)), title_(new QLabel), search_(new QLineEdit),
      table_(new QTableView), bar_(new QProgressBar), cancel_(new QToolButton),
      setupButton_(new QToolButton), export_(new QToolButton), message_(new QLabel) {
    setObjectName("DecodePane");
    proxy_->setSourceModel(model_);
    proxy_->setFilterKeyColumn(-1);
    proxy_->setFilterCaseSensitivity(Qt::CaseInsensitive);
    table_->setModel(proxy_);
    table_->setSelectionBehavior(QAbstractItemView::SelectRows);
    table_->setSelectionMode(QAbstractItemView::SingleSelection);
    table_->verticalHeader()->hide();
    table_->verticalHeader()->setDefaultSectionSize(fontMetrics().height() + 4);
    table_->horizontalHeader()->setStretchLastSection(true);
    table_->setObjectName("annotations");
    search_->setObjectName("annotationSearch");
    search_->setClearButtonEnabled(true);
    bar_->setRange(0, 100);
    bar_->setObjectName("decodeProgress");
    cancel_->setObjectName("decodeCancel");
    setupButton_->setObjectName("decodeSetup");
    export_->setObjectName("annotationExport");
    message_->setWordWrap(true);
    message_->setObjectName("decodeMessage");
    message_->setTextInteractionFlags(Qt::TextSelectableByMouse);
    connect(search_, &QLineEdit::textChanged, proxy_, &QSortFilterProxyModel::setFilterFixedString);
    connect(cancel_, &QToolButton::clicked, this, &DecodePane::Cancel);
    connect(setupButton_, &QToolButton::clicked, this, &DecodePane::ChooseDecoders);
    connect(export_, &QToolButton::clicked, this, &DecodePane::ExportCsv);
    connect(table_, &QTableView::activated, this, [this](const QModelIndex& index) {
        const int row = proxy_->mapToSource(index).row();
        if (row >= 0 && centreOn) {
            const decode::Annotation& a = result_.annotations[static_cast<std::size_t>(row)];
            centreOn((a.start + a.end) / 2);
        }
    });
    connect(table_, &QTableView::clicked, table_, &QTableView::activated);
    connect(&task_, &decode::DecodeTask::progress, bar_, &QProgressBar::setValue);
    connect(&task_, &decode::DecodeTask::finished, this, &DecodePane::ShowResult);

    auto* head = new QHBoxLayout;
    head->addWidget(title_, 1);
    head->addWidget(setupButton_);
    head->addWidget(export_);
    auto* run = new QHBoxLayout;
    run->addWidget(bar_, 1);
    run->addWidget(cancel_);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addLayout(head);
    layout->addLayout(run);
    layout->addWidget(message_);
    layout->addWidget(search_);
    layout->addWidget(table_, 1);
    showRunning(false);
    message_->hide();

    const int count = platform::GetSettingInt(kAppTitle, kSection, kind_ + "Stacks", 0);
    QStringList texts;
    for (int i = 1; i <= count; ++i)
        texts << platform::GetSetting(kAppTitle, kSection, kind_ + "Stack" + QString::number(i));
    const double threshold =
        platform::GetSettingDouble(kAppTitle, kSection, kind_ + "Threshold", 1.4);
    const double hysteresis =
        platform::GetSettingDouble(kAppTitle, kSection, kind_ + "Hysteresis", 0.2);
    if (count > 0 && decode::DecodersReady())
        setup_ = decode::SetupOfTexts(texts, threshold, hysteresis);
    else
        setup_.threshold = threshold, setup_.hysteresis = hysteresis;
    applyCaptions();
}

DecodePane::~DecodePane() = default;

void DecodePane::applyCaptions(QToolButton* opener) {
    if (opener) {
        opener->setText(say("Decode...", "解码..."));
        opener->setToolTip(say("Protocol decoding of the logic channels (UART, I2C, SPI ...)",
                               "逻辑通道的协议解码（UART、I2C、SPI ...）"));
    }
    title_->setText("<b>" + say("Decode", "解码") + "</b>");
    setupButton_->setText(say("Decoders...", "解码器..."));
    export_->setText("CSV");
    export_->setToolTip(say("Export the annotations as CSV", "以 CSV 输出注释"));
    cancel_->setText(say("Cancel", "取消"));
    search_->setPlaceholderText(say("Search annotations", "搜索注释"));
    model_->headerDataChanged(Qt::Horizontal, 0, 2);
}

void DecodePane::SetSetup(const decode::DecodeSetup& setup) {
    setup_ = setup;
    const QStringList texts = decode::SetupTexts(setup);
    platform::SaveSetting(kAppTitle, kSection, kind_ + "Stacks", QString::number(texts.size()));
    for (int i = 0; i < texts.size(); ++i)
        platform::SaveSetting(kAppTitle, kSection, kind_ + "Stack" + QString::number(i + 1),
                              texts[i]);
    platform::SaveSetting(kAppTitle, kSection, kind_ + "Threshold",
                          QString::number(setup.threshold));
    platform::SaveSetting(kAppTitle, kSection, kind_ + "Hysteresis",
                          QString::number(setup.hysteresis));
}

void DecodePane::ChooseDecoders() {
    QString problem;
    if (!decode::DecodersReady(&problem)) {
        platform::MsgBox(problem, platform::MsgButtons::Ok, platform::MsgIcon::Critical);
        return;
    }
    // Not modal on the test's thread: the dialog answers through its signals.
    auto* dialog = new DecodeDialog(setup_, window());
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    connect(dialog, &QDialog::accepted, this, [this, dialog] {
        SetSetup(dialog->setup());
        Decode();
    });
    dialog->open();
}

void DecodePane::Decode() {
    if (setup_.empty()) {
        ChooseDecoders();
        return;
    }
    ShowDecodePane(qobject_cast<QSplitter*>(parentWidget()), this);
    const Capture c = capture ? capture() : Capture();
    if (c.samples() == 0) {
        message_->setText(say("There is no capture to decode.", "没有可解码的采集。"));
        message_->show();
        return;
    }
    message_->hide();
    showRunning(true);
    bar_->setValue(0);
    task_.start(setup_, decode::InputOfCapture(c, setup_));
}

void DecodePane::Cancel() {
    task_.cancel();
}

void DecodePane::showRunning(bool running) {
    bar_->setVisible(running);
    cancel_->setVisible(running);
}

void DecodePane::ShowResult(const decode::DecodeResult& result) {
    showRunning(false);
    model_->setResult(nullptr);
    result_ = result;
    index_.build(result_);
    shownRows_.clear(); // rows the decoders left empty take no room
    for (int r = 0; r < result_.rows.size(); ++r)
        if (!index_.row(r).empty()) shownRows_.push_back(r);
    model_->setResult(&result_);
    table_->resizeColumnToContents(0);
    table_->resizeColumnToContents(1);
    QString note;
    if (result_.cancelled)
        note =
            say("Stopped: the annotations up to there are shown.", "已停止：显示到此为止的注释。");
    if (!result_.error.isEmpty()) note = result_.error;
    message_->setText(note);
    message_->setVisible(!note.isEmpty());
    platform::ShowStatus(
        say("Decoded: %1 annotations", "已解码：%1 条注释").arg(result_.annotations.size()));
    if (changed) changed();
}

int DecodePane::rowsHeight() const {
    return static_cast<int>(shownRows_.size()) * kRowHeight;
}

int DecodePane::rowTop(int row) const {
    const auto at = std::find(shownRows_.begin(), shownRows_.end(), row);
    return at == shownRows_.end() ? -1 : static_cast<int>(at - shownRows_.begin()) * kRowHeight;
}

void DecodePane::paintRows(QPainter& p, int top, int left, int width,
                           const decode::PixelScale& scale) const {
    const QFontMetrics fm = p.fontMetrics();
    const auto textWidth = [&fm](const QString& t) { return fm.horizontalAdvance(t); };
    for (std::size_t k = 0; k < shownRows_.size(); ++k) {
        const int r = shownRows_[k];
        const int y = top + static_cast<int>(k) * kRowHeight;
        p.fillRect(QRect(left, y, width, kRowHeight),
                   k % 2 ? QColor(36, 36, 40) : QColor(28, 28, 32));
        p.setPen(QColor(170, 170, 180));
        p.drawText(QRect(left + 2, y, width - 4, kRowHeight - 16), Qt::AlignLeft | Qt::AlignTop,
                   result_.rows[r].title());
        const int boxTop = y + kRowHeight - 16, boxHeight = 14;
        for (const decode::AnnotationMark& m :
             decode::LayoutRow(result_, index_, r, scale, textWidth)) {
            const decode::Annotation& a = result_.annotations[static_cast<std::size_t>(m.first)];
            const double x0 = std::max(m.x0, -2.0), x1 = std::min(m.x1, double(scale.width) + 2);
            const QRectF box(left + x0, boxTop, std::max(1.0, x1 - x0), boxHeight);
            const QColor colour = classColour(r, a.cls);
            if (m.block) {
                p.fillRect(box, colour.darker(130));
                continue;
            }
            p.setPen(colour.darker(200));
            p.setBrush(colour);
            p.drawRoundedRect(box, 3, 3);
            if (!m.text.isEmpty()) {
                p.setPen(Qt::black);
                p.drawText(box, Qt::AlignCenter, m.text);
            }
        }
    }
}

bool DecodePane::clickRows(double x, int y, const decode::PixelScale& scale) {
    const int k = y / kRowHeight;
    if (y < 0 || k >= static_cast<int>(shownRows_.size())) return false;
    const int r = shownRows_[static_cast<std::size_t>(k)];
    const int i = decode::AnnotationAt(result_, index_, r, scale, x);
    if (i < 0) return false;
    const decode::Annotation& a = result_.annotations[static_cast<std::size_t>(i)];
    const QModelIndex shown = proxy_->mapFromSource(model_->index(i, 0));
    if (shown.isValid()) {
        table_->selectRow(shown.row());
        table_->scrollTo(shown);
    }
    if (centreOn) centreOn((a.start + a.end) / 2);
    return true;
}

void DecodePane::ExportCsv() {
    if (result_.annotations.empty()) return;
    platform::FileDialogRequest request;
    request.save = true;
    request.title = say("Export annotations", "输出注释");
    request.filter = "CSV (*.csv)|*.csv";
    request.overwritePrompt = true;
    const std::optional<QString> path = platform::ShowFileDialog(request);
    if (!path || path->isEmpty()) return;
    // What the search shows is what goes out.
    decode::DecodeResult shown;
    shown.rows = result_.rows;
    shown.sampleRate = result_.sampleRate;
    shown.firstTime = result_.firstTime;
    for (int i = 0; i < proxy_->rowCount(); ++i)
        shown.annotations.push_back(result_.annotations[static_cast<std::size_t>(
            proxy_->mapToSource(proxy_->index(i, 0)).row())]);
    const QString error = platform::WriteFileAtomically(*path, decode::AnnotationsCsv(shown));
    if (!error.isEmpty())
        platform::MsgBox(error, platform::MsgButtons::Ok, platform::MsgIcon::Critical);
    else
        platform::ShowStatus(ExportedToText(*path));
}

void ShowDecodePane(QSplitter* split, DecodePane* pane) {
    if (pane->isVisible()) return;
    pane->show();
    if (!split) return;
    const int total = split->width();
    const int side = std::min(420, total / 3);
    split->setSizes({total - side, side});
}
