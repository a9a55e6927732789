// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
// The virtual panel: the instrument's screen refreshed live beside its front
// panel (frmV_Panel, USB only), or the front panel alone (frmV_Key).
#include <QElapsedTimer>
#include <QImage>
#include <QWidget>
#include <cstdint>
#include <vector>

class FrontPanel;
class QBoxLayout;
class QLabel;
class QToolButton;

// Where the screen and the keys go in the room a window gives them: the
// screen's zoom (0 its own pixels, 1 twice), and the keys beside it in
// columns or below it in pages. The larger screen when it fits with either,
// columns before pages; chosenZoom (-1 none) is the user's own choice.
struct PanelArrangement {
    int zoom = 0;
    bool below = false;
    bool operator==(const PanelArrangement&) const = default;
};
PanelArrangement ChoosePanelArrangement(QSize room, QSize screen, QSize columns, QSize pages,
                                        int spacing, int chosenZoom);

extern bool PanelRunning; // the picture is being refreshed
extern bool PanelOpen;    // the panel window exists
extern bool PanelWindowOpen, KeyWindowOpen;

class frmV_Panel : public QWidget {
    Q_OBJECT
public:
    explicit frmV_Panel(QWidget* parent = nullptr);
    ~frmV_Panel() override;

    void DrawBulkWave();  // one refresh
    void cmdRun_Click();  // the picture runs
    void cmdStop_Click(); // the picture stands
    void cmdZoom_Click(); // normal or double size, from the next refresh
    void cmdExport_Click();
    void Print(bool preview);
    const QImage& picture() const { return picture_; }
    FrontPanel* panel() const { return panel_; }
    int ZoomState = 0;
    int refreshes() const { return refreshes_; }
    // The size that shows the screen at twice its pixels when `room` (the
    // area the window opens in) holds it, else at its own; the zoom is set
    // to match. Whole steps only: the picture is never smoothed.
    QSize OpeningSize(const QSize& room);
    PanelArrangement arrangement() const { return arrangement_; }
    QSize minimumSizeHint() const override;

protected:
    void closeEvent(QCloseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    void arrange(QSize size); // the screen and keys laid out for the window at that size
    QBoxLayout* row_;
    QWidget* tools_;
    PanelArrangement arrangement_;
    void refreshLoop(); // one round of tDrawBmp's loop, then the next
    void closeWindow(); // the window, or the child window holding it
    void applyCaptions(int index);
    std::vector<std::uint8_t> RawImage;
    std::vector<std::uint32_t> PixelColor;
    QImage picture_;
    QLabel* PanelWavePic_;
    QToolButton* cmdRun_;
    QToolButton* cmdStop_;
    QToolButton* cmdZoom_;
    QToolButton* cmdExport_;
    QToolButton* cmdPrint_;
    QToolButton* cmdPreview_;
    FrontPanel* panel_;
    int refreshes_ = 0;
    int captionRoutine_ = 0;
    bool zoomChosen_ = false;
    QElapsedTimer lampClock_;
};

class frmV_Key : public QWidget {
    Q_OBJECT
public:
    explicit frmV_Key(QWidget* parent = nullptr);
    ~frmV_Key() override;
    FrontPanel* panel() const { return panel_; }
    // The force key called from code sends the key word, unlike its control.
    void VK_Trig_Force();

protected:
    void keyPressEvent(QKeyEvent* event) override;

private:
    FrontPanel* panel_;
};

// Which window the "Virtual Panel" node opens: the screen needs USB.
bool PanelHasScreen(int visaBusType);
// Opens the right window for the link (the controller's node calls it).
QWidget* OpenVirtualPanel(QWidget* parent = nullptr);
