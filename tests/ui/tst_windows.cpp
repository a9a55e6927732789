// SPDX-License-Identifier: GPL-3.0-or-later
// Every window and dialog as a user sees it, in both languages, at 800x600:
// no button without an icon or a text, no English word left under Chinese,
// no text cut short, nothing placed outside its window.
#include "SimulatedLink.h"
#include "TestPlatform.h"

#include "acquire/frmPrgress.h"
#include "app/frmAbout.h"
#include "app/frmMain.h"
#include "app/frmNewDoc.h"
#include "app/frmOptions.h"
#include "controller/CtrlDialog.h"
#include "controller/CtrlDialogAdjust.h"
#include "controller/CtrlState.h"
#include "controller/PraseCtrlList.h"
#include "controller/frmCtrlList.h"
#include "link/LinkState.h"
#include "measure/frmMeasure.h"
#include "measure/frmPassFailed.h"
#include "panel/frmV_Panel.h"
#include "shared/LoadLanguage.h"
#include "shared/SoftwareSetting.h"
#include "sheet/DataSheet.h"
#include "sheet/DocWindow.h"
#include "sheet/SheetRecords.h"
#include "views/DecodeDialog.h"
#include "views/DecodePane.h"
#include "views/frmWaveSetting.h"

#include <QAbstractButton>
#include <QAbstractScrollArea>
#include <QComboBox>
#include <QGroupBox>
#include <QHeaderView>
#include <QLabel>
#include <QMdiArea>
#include <QMdiSubWindow>
#include <QPointer>
#include <QRadioButton>
#include <QSplitter>
#include <QStyle>
#include <QTabWidget>
#include <QToolButton>
#include <QTreeView>
#include <QTreeWidgetItem>
#include <QtTest>
#include <functional>
#include <memory>

namespace {

// A window the test can open by name; it is shown and laid out.
struct WindowMaker {
    const char* name;
    std::function<QWidget*(frmMain& frame)> open;
};

QWidget* docWindow(DocKind kind) {
    if (!SheetExists()) NewDataSheet();
    const int slot = AddDocument(kind);
    DocWindow* w = DocForm(kind, slot);
    if (auto* sub = qobject_cast<QMdiSubWindow*>(w->parentWidget())) sub->showMaximized();
    return w;
}

// The controller tree's first row whose text starts so, in the frame's pane.
const QTreeWidgetItem* treeRow(frmMain& frame, const QString& start) {
    return frame.findChild<frmCtrlList*>()->RowStartingWith(start);
}

CtrlRowMatch rowAt(const QString& path) {
    return MatchCtrlPath(SplitCtrlPath(path));
}

const QList<WindowMaker>& makers() {
    static const QList<WindowMaker> list = {
        {"frame", [](frmMain& f) -> QWidget* { return &f; }},
        {"wave", [](frmMain&) { return docWindow(DocKind::Wave); }},
        {"measure", [](frmMain&) { return docWindow(DocKind::Measure); }},
        {"measure with values and verdicts",
         [](frmMain&) -> QWidget* {
             QWidget* w = docWindow(DocKind::Measure);
             MeasureRecord& r = MeasureRecords[0];
             r.Loaded = true;
             for (std::size_t i = 0; i < r.Items.size(); ++i) {
                 r.Items[i].Text = "123.4mV";
                 r.Items[i].LimitEnabled = true;
                 r.Items[i].UnderLimit = 0.2;
                 r.Items[i].OverLimit = 0.3;
             }
             qobject_cast<frmMeasure*>(w)->DispMeasure();
             return w;
         }},
        {"wave while refreshing",
         [](frmMain&) -> QWidget* {
             QWidget* w = docWindow(DocKind::Wave);
             w->findChild<QWidget*>("picRefreshProgress")->show();
             return w;
         }},
        {"data", [](frmMain&) { return docWindow(DocKind::Data); }},
        {"record", [](frmMain&) { return docWindow(DocKind::Record); }},
        {"memory wave", [](frmMain&) { return docWindow(DocKind::MemoryWave); }},
        {"memory wave with its decode pane",
         [](frmMain&) -> QWidget* {
             QWidget* w = docWindow(DocKind::MemoryWave);
             ShowDecodePane(w->findChild<QSplitter*>(), w->findChild<DecodePane*>());
             return w;
         }},
        {"decoder dialog",
         [](frmMain& f) -> QWidget* { return new DecodeDialog(decode::DecodeSetup(), &f); }},
        {"options", [](frmMain& f) -> QWidget* { return new frmOptions(&f); }},
        {"about", [](frmMain& f) -> QWidget* { return new frmAbout(&f); }},
        {"new document", [](frmMain& f) -> QWidget* { return new frmNewDoc(false, &f); }},
        {"pass/fail", [](frmMain& f) -> QWidget* { return new frmPassFailed(0, "M0", &f); }},
        {"fft setting", [](frmMain& f) -> QWidget* { return new frmWaveSetting(&f); }},
        {"parameter dialog",
         [](frmMain& f) -> QWidget* {
             const QTreeWidgetItem* item = treeRow(f, TreeLabel("Holdoff") + " [");
             if (!item) return nullptr;
             const CtrlRowMatch row = rowAt(frmCtrlList::FullPath(item));
             return new CtrlDialog(row, ShapeCtrlDialog(row), &f);
         }},
        {"adjust dialog", [](frmMain& f) -> QWidget* { return new CtrlDialogAdjust(1, &f); }},
        {"virtual panel",
         [](frmMain& f) -> QWidget* {
             // Opened from its tree leaf, as the user opens it.
             const QTreeWidgetItem* item = treeRow(f, TreeLabel("Virtual Panel"));
             if (!item) return nullptr;
             PraseCtrlList(frmCtrlList::FullPath(item));
             QWidget* panel = f.findChild<frmV_Panel*>();
             if (!panel) panel = f.findChild<frmV_Key*>();
             if (auto* sub = panel ? qobject_cast<QMdiSubWindow*>(panel->parentWidget()) : nullptr)
                 sub->showMaximized();
             return panel;
         }},
        {"virtual panel, keys alone",
         [](frmMain& f) -> QWidget* {
             // Over RS232 the node opens the keys without the screen.
             const int io = SoftwareSetting.ScopeIOType;
             SoftwareSetting.ScopeIOType = kIoTypeRs232;
             const QTreeWidgetItem* item = treeRow(f, TreeLabel("Virtual Panel"));
             if (item) PraseCtrlList(frmCtrlList::FullPath(item));
             SoftwareSetting.ScopeIOType = io;
             QWidget* keys = f.findChild<frmV_Key*>();
             if (auto* sub = keys ? qobject_cast<QMdiSubWindow*>(keys->parentWidget()) : nullptr)
                 sub->showMaximized();
             return keys;
         }},
    };
    return list;
}

// A tool button that shows only its icon: its text is a tool tip's, not seen.
bool iconOnly(const QAbstractButton* b) {
    const auto* t = qobject_cast<const QToolButton*>(b);
    return t && t->toolButtonStyle() == Qt::ToolButtonIconOnly && !t->icon().isNull();
}

bool shownOnScreen(const QWidget* w) {
    return w->isVisible() && w->width() > 0 && w->height() > 0;
}

// Texts that come from a library in its one language (the protocol
// decoders' names and options) are marked so on a widget or its parent.
bool libraryText(const QWidget* w) {
    for (; w; w = w->parentWidget())
        if (w->property("libraryText").toBool()) return true;
    return false;
}

// The visible texts of a window, keyed by the widget's place, for comparing
// the two languages.
QMap<QString, QString> texts(QWidget* window) {
    QMap<QString, QString> out;
    int n = 0;
    for (QWidget* w : window->findChildren<QWidget*>()) {
        if (!shownOnScreen(w) || libraryText(w)) continue;
        const QString key =
            QString("%1#%2 %3").arg(w->metaObject()->className()).arg(n++).arg(w->objectName());
        if (auto* l = qobject_cast<QLabel*>(w)) out[key] = l->text();
        if (auto* b = qobject_cast<QAbstractButton*>(w); b && !iconOnly(b)) out[key] = b->text();
        if (auto* g = qobject_cast<QGroupBox*>(w)) out[key] = g->title();
        if (auto* t = qobject_cast<QTabWidget*>(w))
            for (int i = 0; i < t->count(); ++i)
                out[key + QString::number(i)] = t->tabText(i);
        if (auto* c = qobject_cast<QComboBox*>(w); c && !c->isEditable())
            out[key] = c->currentText();
    }
    return out;
}

// Words that are the same in both languages: channel and unit names.
bool sameInBothLanguages(const QString& text) {
    static const QRegularExpression kept(
        "^(F\\d|CH1|CH2|CH\\d|LA|D\\d+|FFT|X-Y|Y-T|OK|TTL|ECL|CMOS|"
        "VEXOR|NQ4000L|Korvane|[\\d.,]+\\s*[munpkMG]?(V|s|Hz|Sa|%|div|dB)|X1|X2|Y1|Y2|dB|dBVrms|"
        "Vrms|\\d+X|[munpkM]?(V|S|s|Hz)|USB|RS232|CSV|PulseView|Vexor "
        "Technologies,Inc\\.|[A-Z]+\\d*::.*)$");
    const QString t = QString(text).remove('&').trimmed();
    const bool letters = std::any_of(t.cbegin(), t.cend(), [](QChar c) { return c.isLetter(); });
    return !letters || kept.match(t).hasMatch();
}

} // namespace

class TestWindows : public QObject {
    Q_OBJECT
private slots:
    void init();
    void cleanup();
    void whatTheUserSees_data();
    void whatTheUserSees();

private:
    QStringList faultsIn(int window, int language, QMap<QString, QString>* shownTexts);
    std::unique_ptr<TestPlatform> tp_;
    std::unique_ptr<frmMain> frame_;
};

void TestWindows::init() {
    tp_ = std::make_unique<TestPlatform>();
    Connected = false;
    ResetControllerState();
}

void TestWindows::cleanup() {
    ResetDataSheet();
    if (frame_) {
        SheetDirty = CtrlDirty = false;
        frame_->close();
    }
    frame_.reset();
    ApplyLanguage(kLanguageEnglish);
    tp_.reset();
}

void TestWindows::whatTheUserSees_data() {
    QTest::addColumn<int>("window");
    for (int i = 0; i < makers().size(); ++i)
        QTest::newRow(makers()[i].name) << i;
}

// One language: the frame started in it, the window opened in it.
QStringList TestWindows::faultsIn(int window, int language, QMap<QString, QString>* shownTexts) {
    const WindowMaker& maker = makers()[window];
    LanguageIndex = language; // the frame's load applies the chosen language
    ApplyLanguage(language);
    frame_ = std::make_unique<frmMain>();
    frame_->Load();
    frame_->setGeometry(0, 0, 800, 600);
    frame_->show();
    for (int i = 0; i < 100 && frame_->timerInit()->isActive(); ++i)
        QTest::qWait(10);
    SimulatedLink link; // connected: the panel shows the instrument's screen
    QPointer<QWidget> w = maker.open(*frame_);
    if (!w) return {"could not be opened"};
    if (w != frame_.get()) {
        w->show();
        if (w->isWindow()) w->resize(w->size().boundedTo(QSize(800, 600)));
    }
    QTest::qWait(50);
    QApplication::processEvents();
    if (!w) return {"closed itself"};
    *shownTexts = texts(w);

    QStringList faults;
    const QString lang = language == kLanguageChinese ? "zh" : "en";
    const QRect windowRect = w->window()->rect();
    // A child window carries an icon of the program's, never the style's
    // placeholder (the toolkit's logo).
    if (auto* sub = qobject_cast<QMdiSubWindow*>(w->parentWidget())) {
        const QImage placeholder =
            sub->style()->standardIcon(QStyle::SP_TitleBarMenuButton).pixmap(16).toImage();
        if (sub->windowIcon().isNull() || sub->windowIcon().pixmap(16).toImage() == placeholder)
            faults << lang + ": the child window shows no icon of the program's";
    }
    for (QWidget* c : w->findChildren<QWidget*>()) {
        if (!shownOnScreen(c)) continue;
        const QString who =
            QString("%1 %2 '%3'").arg(lang, c->metaObject()->className(), c->objectName());
        // A button shows an icon that draws, or a text.
        if (auto* b = qobject_cast<QAbstractButton*>(c)) {
            const bool iconDraws = !b->icon().isNull() && !b->icon().pixmap(16, 16).isNull();
            if (!b->icon().isNull() && !iconDraws) faults << who + ": icon draws nothing";
            if (!iconDraws && b->text().trimmed().isEmpty() &&
                !qobject_cast<QMdiSubWindow*>(b->parentWidget()))
                faults << who + ": neither icon nor text";
        }
        // A text fits its widget.
        bool inScroller = false;
        QMdiArea* mdi = nullptr; // a child window's widgets must show in the area's view
        for (QWidget* p = c->parentWidget(); p && p != w->window(); p = p->parentWidget()) {
            if (auto* area = qobject_cast<QMdiArea*>(p); area && !inScroller) mdi = area;
            if (qobject_cast<QAbstractScrollArea*>(p)) inScroller = true;
        }
        if (mdi && !qobject_cast<QMdiSubWindow*>(c) && c->parentWidget() != mdi) {
            const QRect view(mdi->viewport()->mapTo(c->window(), QPoint(0, 0)),
                             mdi->viewport()->size());
            const QRect at(c->mapTo(c->window(), QPoint(0, 0)), c->size());
            bool scrolledInside = false; // within a list or picture that scrolls itself
            for (QWidget* p = c->parentWidget(); p && p != mdi; p = p->parentWidget())
                if (qobject_cast<QAbstractScrollArea*>(p) && !qobject_cast<QMdiArea*>(p))
                    scrolledInside = true;
            if (!scrolledInside && !view.contains(at))
                faults << who + QString(": beyond the visible area (%1,%2 %3x%4 in %5x%6)")
                                    .arg(at.x() - view.x())
                                    .arg(at.y() - view.y())
                                    .arg(at.width())
                                    .arg(at.height())
                                    .arg(view.width())
                                    .arg(view.height());
        }
        if (auto* l = qobject_cast<QLabel*>(c); l && !l->wordWrap() && !l->text().isEmpty() &&
                                                l->pixmap().isNull() && !l->text().contains('<')) {
            const int need = l->fontMetrics().horizontalAdvance(l->text()) + 2 * l->margin();
            if (need > l->contentsRect().width() + 1)
                faults << who + QString(": text '%1' needs %2 px, has %3")
                                    .arg(l->text())
                                    .arg(need)
                                    .arg(l->contentsRect().width());
        }
        if (auto* b = qobject_cast<QAbstractButton*>(c);
            b && !b->text().isEmpty() && !iconOnly(b)) {
            if (b->sizeHint().width() > b->width() + 1)
                faults << who + QString(": text '%1' needs %2 px, has %3")
                                    .arg(b->text())
                                    .arg(b->sizeHint().width())
                                    .arg(b->width());
        }
        if (auto* g = qobject_cast<QGroupBox*>(c); g && !g->title().isEmpty()) {
            const int need = g->fontMetrics().horizontalAdvance(g->title()) + 16;
            if (need > g->width())
                faults << who + QString(": title '%1' needs %2 px, has %3")
                                    .arg(g->title())
                                    .arg(need)
                                    .arg(g->width());
        }
        // A list's columns all show, none behind a scroll bar.
        if (auto* tree = qobject_cast<QTreeView*>(c); tree && !tree->isHeaderHidden() &&
                                                      tree->header()->count() > 1 &&
                                                      tree->objectName() != "CtrlTreeView")
            if (tree->header()->length() > tree->viewport()->width() + 1)
                faults << who + QString(": columns need %1 px, the list shows %2")
                                    .arg(tree->header()->length())
                                    .arg(tree->viewport()->width());
        // Inside its window (a scrolled area may hold more).
        if (!inScroller && c->window() == w->window()) {
            const QRect at(c->mapTo(c->window(), QPoint(0, 0)), c->size());
            if (!windowRect.contains(at))
                faults << who + QString(": outside its window (%1,%2 %3x%4 in %5x%6)")
                                    .arg(at.x())
                                    .arg(at.y())
                                    .arg(at.width())
                                    .arg(at.height())
                                    .arg(windowRect.width())
                                    .arg(windowRect.height());
        }
    }
    if (w != frame_.get() && w->isWindow()) w->close();
    ResetDataSheet();
    SheetDirty = CtrlDirty = false;
    frame_->close();
    frame_.reset();
    return faults;
}

void TestWindows::whatTheUserSees() {
    QFETCH(int, window);
    QMap<QString, QString> english, chinese;
    QStringList faults = faultsIn(window, kLanguageEnglish, &english);
    faults += faultsIn(window, kLanguageChinese, &chinese);
    for (auto it = chinese.cbegin(); it != chinese.cend(); ++it)
        if (english.value(it.key()) == it.value() && !sameInBothLanguages(it.value()))
            faults << "zh " + it.key() + ": still English '" + it.value() + "'";
    faults.removeDuplicates();
    QVERIFY2(faults.isEmpty(), qPrintable("\n" + faults.join("\n")));
}

QTEST_MAIN(TestWindows)
#include "tst_windows.moc"
