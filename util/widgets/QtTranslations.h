#pragma once

class QCoreApplication;

// Qt's own texts in German: the standard buttons of message boxes ("Abbrechen", "Ja"), the
// file and folder dialogs, the context menus of text boxes. The translations come with the
// system (Debian: qt6-translations-l10n, qtbase_de.qm). Also makes German the default
// locale, so dates and numbers in Qt's dialogs read as the rest of the program.
// Returns false when the translations are not installed; the program then runs with Qt's
// English texts.
bool installGermanQtTranslations(QCoreApplication& app);
