/// The window of ksv-browser: one page, its transcript, its end.
#pragma once

#include <QTextStream>
#include <QTimer>
#include <QWebPage>
#include <QWebView>

#include "kit/browser/options.h"

namespace Kit {

/// Writes one line for the user to standard error.
void Complain(const QString& sentence);

/// The page's load failures and alerts come to the window instead of to the page and to dialogs.
class Page : public QWebPage {
  Q_OBJECT

 public:
  using QWebPage::QWebPage;
  bool extension(Extension extension, const ExtensionOption* option, ExtensionReturn* output) override;
  bool supportsExtension(Extension extension) const override { return extension == ErrorPageExtension; }

 signals:
  void LoadFailed(const QString& reason);

 protected:
  void javaScriptAlert(QWebFrame* frame, const QString& message) override;
};

/// What the page sees as `ksvBrowser`.
class Hook : public QObject {
  Q_OBJECT

 public:
  using QObject::QObject;
  /// Ends the page's work; the first call counts.
  Q_INVOKABLE void finish(bool succeeded) { emit Finished(succeeded); }

 signals:
  void Finished(bool succeeded);
};

/// Shows the page and ends the application with an `ExitStatus` when the page has given its answer.
class BrowserWindow : public QWebView {
  Q_OBJECT

 public:
  /// `transcript` outlives the window.
  BrowserWindow(const Options& options, QTextStream& transcript);
  /// Shows the window and starts loading.
  void Open();
  /// The status for the process; what a window that was closed early amounts to is decided here too.
  int Status() const;

 private:
  void PrepareScript();
  void WriteConsoleLine(QWebPage::MessageSource source, QWebPage::MessageLevel level, const QString& message, int line,
                        const QString& address);
  void Finish(int status);
  void GiveUp(const QString& reason);
  void SavePicture();

  const Options options;
  QTextStream& transcript;
  Hook hook;
  QTimer deadline;
  int status = -1;  // -1 until the page has an outcome
};

}  // namespace Kit
