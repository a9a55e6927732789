// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
// The data table window: one channel's screen samples as rows of number,
// time and voltage texts, refreshed from the instrument and exported as
// tab-separated text. The table is a model over the record's texts, so a
// full table appears at once.
#include "sheet/DocWindow.h"
#include "views/RefreshCycle.h"

#include <QAbstractTableModel>
#include <QByteArray>

class QLabel;
class QRadioButton;
class QTableView;
class QTimer;
class QToolButton;
struct DataRecord;

// The three columns over a DataRecord: "NO.", "Time[S]", "Voltage[V]".
class DataTableModel : public QAbstractTableModel {
    Q_OBJECT
public:
    explicit DataTableModel(QObject* parent = nullptr);
    void setRecord(const DataRecord* record); // null: empty
    void reset();                             // the record's rows changed
    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QVariant headerData(int section, Qt::Orientation o, int role) const override;

private:
    const DataRecord* record_ = nullptr;
};

// The export file: the maker line, the title, the heading and one line a
// row, numbers with their blanks; CR LF line ends.
QByteArray DataExportBytes(const DataRecord& rec);

class frmData : public DocWindow {
    Q_OBJECT
public:
    explicit frmData(int slot);
    ~frmData() override;
    DataRecord& record() const;

    void cmdRefresh_Click();
    void LoadData();
    void Timer1_Timer();
    void OptionCH_Click(int index);
    void cmdExport_Click();
    QRadioButton* option(int index) const { return OptionCH_[index]; }
    QTableView* view() const { return MeasureView_; }
    QLabel* settingLabel() const { return SettingLabel_; }

    void ShowRecord() override;
    bool MayClose() const override;
    void Unload() override;
    void EndAuto();

private:
    void applyCaptions(int index);
    void selectOption(int index);
    RefreshWindow refreshWindow();

    QToolButton* cmdRefresh_ = nullptr;
    QToolButton* cmdExport_ = nullptr;
    QRadioButton* OptionCH_[3] = {nullptr, nullptr, nullptr};
    QLabel* SettingLabel_ = nullptr;
    QTableView* MeasureView_ = nullptr;
    DataTableModel* model_ = nullptr;
    QTimer* Timer1_ = nullptr;
    QTimer* Timer2_ = nullptr;
    bool firstTick_ = true;
    bool settingUp_ = false;
    int captionRoutine_ = 0;
};

void RegisterDataWindow();
