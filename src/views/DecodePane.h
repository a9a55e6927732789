// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
// What a picture window needs to decode its capture: the setup (kept in the
// settings per window kind), the run on a worker with progress and cancel,
// the annotation rows drawn under the picture, and the annotation table
// beside it (searchable, exported as CSV). The window supplies its capture
// and how its pixels map to samples; clicks on a row or the table centre an
// annotation through the window.
#include "decode/AnnotationLayout.h"
#include "decode/DecodeTask.h"

#include <QWidget>
#include <functional>

class QLabel;
class QLineEdit;
class QPainter;
class QProgressBar;
class QSortFilterProxyModel;
class QTableView;
class QToolButton;
struct Capture;

class AnnotationModel;
class QSplitter;

class DecodePane : public QWidget {
    Q_OBJECT
public:
    // kind names the window in the settings ("MemoryWave", "Wave").
    explicit DecodePane(const QString& kind, QWidget* parent = nullptr);
    ~DecodePane() override;

    std::function<Capture()> capture;                  // what to decode
    std::function<void(std::int64_t sample)> centreOn; // show this sample in the middle
    std::function<void()> changed;                     // the rows' drawing changed

    void ChooseDecoders(); // the dialog; OK decodes
    void Decode();         // the setup over capture()
    void Cancel();
    void SetSetup(const decode::DecodeSetup& setup); // kept in the settings
    const decode::DecodeSetup& setup() const { return setup_; }
    const decode::DecodeResult& result() const { return result_; }
    bool running() const { return task_.running(); }
    // The pane's texts, and those of the window's button that opens it.
    void applyCaptions(QToolButton* opener = nullptr);

    // The rows under the picture: their height, drawing and clicks.
    static constexpr int kRowHeight = 30;
    int rowsHeight() const;    // rows without annotations are not drawn
    int rowTop(int row) const; // a result row's top from the rows' top; -1 when not drawn
    void paintRows(QPainter& p, int top, int left, int width,
                   const decode::PixelScale& scale) const;
    // A click at (x in the scale's pixels, y from the rows' top): centres the
    // annotation there and selects it in the table; false when none is there.
    bool clickRows(double x, int y, const decode::PixelScale& scale);

    QTableView* table() const { return table_; }
    QLineEdit* searchBox() const { return search_; }
    void ExportCsv();

    // A finished run's result into the rows and the table (what the run's end calls).
    void ShowResult(const decode::DecodeResult& result);

private:
    void showRunning(bool running);

    QString kind_;
    decode::DecodeSetup setup_;
    decode::DecodeResult result_;
    decode::RowIndex index_;
    std::vector<int> shownRows_; // the rows with annotations, drawn in this order
    decode::DecodeTask task_;
    AnnotationModel* model_;
    QSortFilterProxyModel* proxy_;
    QLabel* title_;
    QLineEdit* search_;
    QTableView* table_;
    QProgressBar* bar_;
    QToolButton* cancel_;
    QToolButton* setupButton_;
    QToolButton* export_;
    QLabel* message_;
};

// Shows the pane beside the picture at a third of the splitter's width (at
// most 420 pixels) the first time; later the user's division stays.
void ShowDecodePane(QSplitter* split, DecodePane* pane);
