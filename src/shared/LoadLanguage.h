// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once
// The program's two languages: the stored choice, the caption tables of every
// form, the tree labels, the measure names, and the switch between them.
#include "shared/StringRES.h"

#include <QList>
#include <QString>
#include <functional>

constexpr int kLanguageChinese = 0;
constexpr int kLanguageEnglish = 1;

extern int LanguageIndex; // 0 Chinese, 1 English (default)

void LoadLanguageSetting(); // reads LanguageIndex; first thing at start-up
void SaveLanguageSetting();

// The language the captions are in: the last valid index applied (English
// until one is), since an index other than 0 and 1 changes nothing.
int CaptionLanguage();

// A form's control caption in the caption language, e.g. FormText("frmMain", "mnuFile").
QString FormText(const char* form, const char* control);
// A tree or parameter label by its English text ("Volt/Div"); unknown text stands.
QString TreeLabel(const QString& english);
// The measure name of slot 0..17 (Vpp ... Duty-).
QString MeasureName(int slot);
constexpr int kMeasureCount = 18;
// The help page beside the program for the caption language.
QString HelpFileName();

// ApplyLanguage(index): the tables in order (help, messages, display words,
// tree labels, measure names), then every registered caption routine in the
// order of registration (frame menus, data sheet menus, tool tips, ...).
void ApplyLanguage(int index);
// Qt's own texts speak the chosen language (Chinese: Qt's translation loaded).
bool QtTranslationLoaded();
using CaptionRoutine = std::function<void(int index)>;
// Returns an id for RemoveCaptionRoutine.
int AddCaptionRoutine(CaptionRoutine routine);
void RemoveCaptionRoutine(int id);

// TranslateParameters: every word-valued field handed over is rewritten from
// the old language's word of its group to the new language's word of the
// same row; words the tables do not know stay as they are.
struct WordField {
    QString* value;
    WordGroup group;
};
using WordFieldProvider = std::function<QList<WordField>()>;
void SetTranslatableFields(WordFieldProvider provider);
void TranslateParameters(int index, int oldIndex);
void TranslateFields(const QList<WordField>& fields, int index, int oldIndex);

// The switch of the Help > Language menu: apply, translate, store.
void SwitchLanguage(int index);

// Completeness checks read these.
QList<TextRow> FormCaptionRows(); // key "form.control"
QList<TextRow> TreeLabelRows();
QList<TextRow> MeasureNameRows();
