// SPDX-License-Identifier: GPL-3.0-or-later
#include "views/DecodeDialog.h"

#include "decode/Decoders.h"
#include "platform/MsgBox.h"
#include "shared/LoadLanguage.h"

#include <QComboBox>
#include <QDialogButtonBox>
#include <QDoubleSpinBox>
#include <QFormLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QScrollArea>
#include <QVBoxLayout>

namespace {

QString say(const char* english, const char* chinese) {
    return CaptionLanguage() == kLanguageChinese ? QString::fromUtf8(chinese)
                                                 : QString::fromUtf8(english);
}

QDoubleSpinBox* voltsBox(double value) {
    auto* box = new QDoubleSpinBox;
    box->setRange(-50, 50);
    box->setDecimals(3);
    box->setSingleStep(0.1);
    box->setSuffix(" V");
    box->setValue(value);
    return box;
}

} // namespace

DecodeDialog::DecodeDialog(const decode::DecodeSetup& setup, QWidget* parent)
    : QDialog(parent), search_(new QLineEdit), list_(new QListWidget), about_(new QLabel),
      channelForm_(new QFormLayout), optionForm_(new QFormLayout), stackOn_(new QComboBox),
      stacks_(new QListWidget), threshold_(voltsBox(setup.threshold)),
      hysteresis_(voltsBox(setup.hysteresis)), result_(setup) {
    setObjectName("DecodeDialog");
    setWindowTitle(say("Protocol decoders", "协议解码"));
    search_->setObjectName("search");
    search_->setPlaceholderText(say("Search decoders", "搜索解码器"));
    search_->setClearButtonEnabled(true);
    list_->setObjectName("decoders");
    stackOn_->setObjectName("stackOn");
    stacks_->setObjectName("stacks");
    threshold_->setObjectName("threshold");
    hysteresis_->setObjectName("hysteresis");
    about_->setWordWrap(true);

    QString problem;
    if (decode::DecodersReady(&problem)) {
        for (const decode::DecoderInfo* d : decode::DecoderList()) {
            if (!d->inputs.contains("logic")) continue; // stacked ones are offered under Stack on
            auto* item = new QListWidgetItem(d->id + QStringLiteral(" — ") + d->longname, list_);
            item->setData(Qt::UserRole, d->id);
            item->setToolTip(d->desc);
        }
    } else {
        about_->setText(problem);
    }
    connect(search_, &QLineEdit::textChanged, this, &DecodeDialog::filter);
    connect(list_, &QListWidget::currentItemChanged, this, [this](QListWidgetItem* item) {
        if (item) showDecoder(item->data(Qt::UserRole).toString());
    });

    auto* left = new QVBoxLayout;
    left->addWidget(search_);
    left->addWidget(list_, 1);

    auto* editors = new QWidget;
    // The decoders' names, channels and options are the library's own, in English.
    editors->setProperty("libraryText", true);
    list_->setProperty("libraryText", true);
    auto* right = new QVBoxLayout(editors);
    right->setContentsMargins(0, 0, 0, 0);
    right->addWidget(about_);
    auto* channels = new QGroupBox(say("Channels", "通道"));
    channels->setLayout(channelForm_);
    auto* options = new QGroupBox(say("Options", "选项"));
    options->setLayout(optionForm_);
    right->addWidget(channels);
    right->addWidget(options);
    auto* stackRow = new QFormLayout;
    stackRow->addRow(say("Stack on top", "叠加解码器"), stackOn_);
    right->addLayout(stackRow);
    right->addStretch(1);
    auto* scroll = new QScrollArea;
    scroll->setWidgetResizable(true);
    scroll->setFrameShape(QFrame::NoFrame);
    scroll->setWidget(editors);

    auto* top = new QHBoxLayout;
    top->addLayout(left, 2);
    top->addWidget(scroll, 3);

    auto* add = new QPushButton(say("Add stack", "添加"));
    add->setObjectName("add");
    auto* remove = new QPushButton(say("Remove", "删除"));
    remove->setObjectName("remove");
    connect(add, &QPushButton::clicked, this, &DecodeDialog::addComposed);
    connect(remove, &QPushButton::clicked, this, [this] { delete stacks_->currentItem(); });
    for (const decode::DecodeStack& s : setup.stacks) {
        auto* item = new QListWidgetItem(decode::StackText(s), stacks_);
        item->setFlags(item->flags() | Qt::ItemIsEditable);
    }
    stacks_->setMaximumHeight(90);
    stacks_->setToolTip(
        say("One stack a line, as korvane-cli decode -P takes it; double-click to edit",
            "每行一个解码栈，与 korvane-cli decode -P 相同；双击编辑"));
    auto* buttons = new QVBoxLayout;
    buttons->addWidget(add);
    buttons->addWidget(remove);
    buttons->addStretch(1);
    auto* stackBox = new QHBoxLayout;
    stackBox->addWidget(stacks_, 1);
    stackBox->addLayout(buttons);

    auto* analog = new QHBoxLayout;
    analog->addWidget(new QLabel(say("CH1/CH2 as logic: threshold", "CH1/CH2 作逻辑：阈值")));
    analog->addWidget(threshold_);
    analog->addWidget(new QLabel(say("hysteresis", "迟滞")));
    analog->addWidget(hysteresis_);
    analog->addStretch(1);

    auto* box = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel);
    box->button(QDialogButtonBox::Ok)->setText(say("Decode", "解码"));
    box->button(QDialogButtonBox::Cancel)->setText(say("Cancel", "取消"));
    connect(box, &QDialogButtonBox::accepted, this, &DecodeDialog::accept);
    connect(box, &QDialogButtonBox::rejected, this, &DecodeDialog::reject);

    auto* layout = new QVBoxLayout(this);
    layout->addLayout(top, 1);
    layout->addLayout(stackBox);
    layout->addLayout(analog);
    layout->addWidget(box);
    resize(720, 520);

    const QString first =
        setup.empty() ? QStringLiteral("uart") : setup.stacks.first().decoders.first().id;
    selectDecoder(first);
}

void DecodeDialog::filter(const QString& text) {
    for (int i = 0; i < list_->count(); ++i) {
        QListWidgetItem* item = list_->item(i);
        item->setHidden(!item->text().contains(text, Qt::CaseInsensitive) &&
                        !item->toolTip().contains(text, Qt::CaseInsensitive));
    }
}

void DecodeDialog::selectDecoder(const QString& id) {
    for (int i = 0; i < list_->count(); ++i)
        if (list_->item(i)->data(Qt::UserRole).toString() == id) {
            list_->setCurrentRow(i);
            return;
        }
}

QComboBox* DecodeDialog::laneBox(bool optional) {
    auto* box = new QComboBox;
    if (optional) box->addItem(say("(none)", "（无）"), QString());
    for (int s = 0; s < decode::kSources; ++s)
        box->addItem(decode::SourceName(s), decode::SourceName(s));
    return box;
}

void DecodeDialog::showDecoder(const QString& id) {
    const decode::DecoderInfo* info = decode::FindDecoder(id);
    if (!info) return;
    current_ = id;
    about_->setText("<b>" + info->longname.toHtmlEscaped() + "</b><br>" +
                    info->desc.toHtmlEscaped());
    while (channelForm_->rowCount() > 0)
        channelForm_->removeRow(0);
    while (optionForm_->rowCount() > 0)
        optionForm_->removeRow(0);
    channelBoxes_.clear();
    optionBoxes_.clear();
    // What the listed stacks already set for this decoder comes back.
    decode::DecoderSetup known = decode::DefaultSetup(*info);
    for (const decode::DecodeStack& s : result_.stacks)
        if (s.decoders.first().id == id) known = s.decoders.first();
    auto addChannel = [&](const decode::DecoderChannel& c, bool optional) {
        QComboBox* box = laneBox(optional);
        box->setObjectName("channel_" + c.id);
        box->setCurrentIndex(std::max(0, box->findData(known.channelSource(c.id))));
        box->setToolTip(c.desc);
        channelForm_->addRow(c.name, box);
        channelBoxes_.push_back({c.id, box});
    };
    for (const decode::DecoderChannel& c : info->channels)
        addChannel(c, false);
    for (const decode::DecoderChannel& c : info->optionalChannels)
        addChannel(c, true);
    for (const decode::DecoderOption& o : info->options) {
        const QString value =
            known.optionValue(o.id).isEmpty() ? o.defaultValue : known.optionValue(o.id);
        QWidget* editor = nullptr;
        if (!o.values.isEmpty()) {
            auto* box = new QComboBox;
            box->addItems(o.values);
            box->setCurrentText(value);
            editor = box;
        } else {
            auto* line = new QLineEdit(value);
            editor = line;
        }
        editor->setObjectName("option_" + o.id);
        editor->setToolTip(o.desc);
        QString label = o.desc;
        if (label.size() > 28) label = label.left(27) + QChar(0x2026);
        optionForm_->addRow(label, editor);
        optionBoxes_.push_back({o.id, editor});
    }
    stackOn_->clear();
    stackOn_->addItem(say("(none)", "（无）"), QString());
    for (const decode::DecoderInfo* above : decode::DecodersAbove(*info))
        stackOn_->addItem(above->id + QStringLiteral(" — ") + above->longname, above->id);
}

decode::DecodeStack DecodeDialog::composed() const {
    decode::DecodeStack stack;
    const decode::DecoderInfo* info = decode::FindDecoder(current_);
    if (!info) return stack;
    decode::DecoderSetup d;
    d.id = current_;
    for (const auto& [id, box] : channelBoxes_)
        if (!box->currentData().toString().isEmpty())
            d.channels.push_back({id, box->currentData().toString()});
    for (const auto& [id, editor] : optionBoxes_) {
        const auto* box = qobject_cast<QComboBox*>(editor);
        const QString value =
            box ? box->currentText() : static_cast<QLineEdit*>(editor)->text().trimmed();
        const decode::DecoderOption* o = info->option(id);
        if (o && value != o->defaultValue && !value.isEmpty()) d.options.push_back({id, value});
    }
    stack.decoders.push_back(d);
    const QString above = stackOn_->currentData().toString();
    if (!above.isEmpty()) stack.decoders.push_back({above, {}, {}});
    return stack;
}

void DecodeDialog::addComposed() {
    const decode::DecodeStack stack = composed();
    if (stack.decoders.isEmpty()) return;
    auto* item = new QListWidgetItem(decode::StackText(stack), stacks_);
    item->setFlags(item->flags() | Qt::ItemIsEditable);
    stacks_->setCurrentItem(item);
}

void DecodeDialog::accept() {
    if (stacks_->count() == 0) addComposed();
    decode::DecodeSetup setup;
    setup.threshold = threshold_->value();
    setup.hysteresis = hysteresis_->value();
    for (int i = 0; i < stacks_->count(); ++i) {
        decode::DecodeStack stack;
        QString error;
        if (!decode::ParseStack(stacks_->item(i)->text(), &stack, &error)) {
            platform::MsgBox(error, platform::MsgButtons::Ok, platform::MsgIcon::Exclamation);
            return;
        }
        if (const QString problem = decode::CheckStack(stack); !problem.isEmpty()) {
            platform::MsgBox(problem, platform::MsgButtons::Ok, platform::MsgIcon::Exclamation);
            return;
        }
        setup.stacks.push_back(stack);
    }
    result_ = setup;
    QDialog::accept();
}
