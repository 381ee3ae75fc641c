/// The window of ksv-browser: one page, its transcript, its outcome.
#pragma once

#include <QTextStream>
#include <QTimer>
#include <QWebPage>
#include <QWebView>

#include "kit/browser/options.h"

namespace Kit {

/// Writes one line for the user to standard error.
void Complain(const QString& sentence);

/// Reports load failures and alerts to the window instead of showing them to a user.
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
  /// Ends the page; only the first call counts.
  Q_INVOKABLE void finish(bool succeeded) { emit Finished(succeeded); }

 signals:
  void Finished(bool succeeded);
};

/// Shows the page and ends the application when the page has finished.
class BrowserWindow : public QWebView {
  Q_OBJECT

 public:
  /// `transcript` outlives the window.
  BrowserWindow(const BrowserOptions& options, QTextStream& transcript);
  /// Shows the window and starts loading.
  void Open();
  /// The `ExitStatus` for the process, also when the window was closed before the page had finished.
  int Status() const;

 private:
  void PrepareScript();
  void WriteConsoleLine(QWebPage::MessageSource source, QWebPage::MessageLevel level, const QString& message, int line,
                        const QString& address);
  void Finish(int status);
  void GiveUp(const QString& reason);
  void SavePicture();

  const BrowserOptions options;
  QTextStream& transcript;
  Hook hook;
  QTimer deadline;
  int status = -1;  // -1 until the page has an outcome
};

}  // namespace Kit
