// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
// The resource chooser shown when the search finds more than one instrument.
#include <QDialog>
#include <QStringList>
#include <functional>
#include <optional>

class QComboBox;

class DlgResource : public QDialog {
    Q_OBJECT
public:
    explicit DlgResource(const QStringList& resources, QWidget* parent = nullptr);
    bool result() const { return result_; }
    QString chosen() const;
    void OKButton_Click();
    void CancelButton_Click();

private:
    QComboBox* cmbResource_;
    bool result_ = false;
};

// Shows the chooser modally; the chosen name, or nothing when cancelled.
std::optional<QString> ChooseResource(const QStringList& resources);
using ResourceChooserHook = std::function<std::optional<QString>(const QStringList&)>;
void SetResourceChooserHook(ResourceChooserHook hook); // tests answer without a dialog
