// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
// The base of the five document windows: a child of the frame that knows its
// kind and its slot (Tag), redraws from its record alone, and may refuse to
// close while a job runs. Closing only hides it; the sheet deletes it when
// the document is removed.
#include "sheet/DataSheet.h"

#include <QWidget>

class DocWindow : public QWidget {
    Q_OBJECT
public:
    DocWindow(DocKind kind, int slot, QWidget* parent = nullptr);
    ~DocWindow() override;

    DocKind kind() const { return kind_; }
    int Tag() const { return tag_; }
    // The slot moved (a document before it was removed).
    void SetTag(int slot) { tag_ = slot; }

    // Redraws from the record (after a load, a rename, a restore).
    virtual void ShowRecord() {}
    // False while the window must stay (a job or a refresh runs).
    virtual bool MayClose() const { return true; }
    // The window goes away for good: stop what runs.
    virtual void Unload() {}

protected:
    void closeEvent(QCloseEvent* event) override;

private:
    DocKind kind_;
    int tag_;
};

// A window for the kinds whose own window is not built yet.
class EmptyDocWindow : public DocWindow {
    Q_OBJECT
public:
    EmptyDocWindow(DocKind kind, int slot);
};
