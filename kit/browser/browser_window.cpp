#include "kit/browser/browser_window.h"

#include <QApplication>
#include <QFile>
#include <QPixmap>
#include <QWebFrame>
#include <QWebSettings>
#include <cstdio>

#include "base/product.h"

namespace Kit {

void Complain(const QString& sentence) {
  std::fprintf(stderr, "ksv-browser: %s\n", sentence.toUtf8().constData());
}

bool Page::extension(Extension, const ExtensionOption* option, ExtensionReturn*) {
  const auto* error = static_cast<const ErrorPageExtensionOption*>(option);
  if (error->frame == mainFrame()) emit LoadFailed(error->errorString);
  return false;
}

void Page::javaScriptAlert(QWebFrame*, const QString& message) {
  // A dialog would block a run without a user.
  emit consoleMessageReceived(ConsoleAPIMessageSource, LogMessageLevel, message, 0, {});
}

BrowserWindow::BrowserWindow(const BrowserOptions& options, QTextStream& transcript)
    : options(options), transcript(transcript) {
  if (!options.storage.isEmpty()) {
    // Read when a page is made, never later.
    QWebSettings::globalSettings()->setAttribute(QWebSettings::LocalStorageEnabled, true);
    QWebSettings::globalSettings()->setLocalStoragePath(options.storage);
  }
  auto* page = new Page(this);  // owned by the window
  setPage(page);
  page->settings()->setAttribute(QWebSettings::PluginsEnabled, true);
  setAttribute(Qt::WA_QuitOnClose);
  setWindowTitle(options.page.fileName());
  resize(options.width, options.height);

  connect(page->mainFrame(), &QWebFrame::javaScriptWindowObjectCleared, this, &BrowserWindow::PrepareScript);
  connect(page, &QWebPage::consoleMessageReceived, this, &BrowserWindow::WriteConsoleLine);
  connect(this, &QWebView::titleChanged, this, &QWidget::setWindowTitle);
  connect(&hook, &Hook::Finished, this,
          [this](bool succeeded) { Finish(succeeded ? kExitPageSucceeded : kExitPageFailed); });
  connect(page, &Page::LoadFailed, this, [this](const QString& reason) {
    GiveUp(QString("The page %1 did not load: %2. Check its path or address.")
               .arg(this->options.page.toDisplayString(), reason));
  });

  deadline.setSingleShot(true);
  deadline.setInterval(options.timeoutSeconds * 1000);
  connect(&deadline, &QTimer::timeout, this, [this] {
    GiveUp(QString("The page has not finished within %1 s. It has to call ksvBrowser.finish(true or false); "
                   "--timeout gives it longer, --stay leaves the window open.")
               .arg(this->options.timeoutSeconds));
  });
}

void BrowserWindow::Open() {
  show();
  if (!options.stay) deadline.start();
  load(options.page);
}

int BrowserWindow::Status() const {
  if (status >= 0) return status;
  if (options.stay) return kExitPageSucceeded;
  Complain("The window was closed before the page had finished.");
  return kExitNoAnswer;
}

void BrowserWindow::PrepareScript() {
  QWebFrame* frame = page()->mainFrame();
  frame->addToJavaScriptWindowObject("ksvBrowser", &hook);
  const QString question = QString("!!navigator.mimeTypes['%1']").arg(NorvoWebAPI::KSV::kMimeType);
  if (!frame->evaluateJavaScript(question).toBool()) {
    GiveUp(QString("QtWebKit did not take %1 as a plug-in for %2. Build it for this machine, or name another "
                   "with --module.")
               .arg(QFile::decodeName(options.module.c_str()), NorvoWebAPI::KSV::kMimeType));
  }
}

void BrowserWindow::WriteConsoleLine(QWebPage::MessageSource source, QWebPage::MessageLevel level,
                                     const QString& message, int line, const QString& address) {
  if (source == QWebPage::ConsoleAPIMessageSource) {
    transcript << message << Qt::endl;
    return;
  }
  if (level != QWebPage::ErrorMessageLevel) return;
  Complain(QString("%1:%2: %3").arg(address).arg(line).arg(message));
  // A page whose script has failed would otherwise wait for the time-out.
  if (source == QWebPage::JSMessageSource && !options.stay) Finish(kExitPageFailed);
}

void BrowserWindow::Finish(int outcome) {
  if (status >= 0) return;
  status = outcome;
  deadline.stop();
  // The page may be within a call of the plug-in, which has to return before the window is closed.
  QTimer::singleShot(0, this, [this] {
    if (!options.picture.empty() && status != kExitNoAnswer) SavePicture();
    if (!options.stay) QCoreApplication::quit();
  });
}

void BrowserWindow::GiveUp(const QString& reason) {
  if (status >= 0) return;
  Complain(reason);
  Finish(kExitNoAnswer);
}

void BrowserWindow::SavePicture() {
  const QString picture = QFile::decodeName(options.picture.c_str());
  if (grab().save(picture)) return;
  Complain(QString("The picture %1 can't be written. Check that its folder is there and that its name ends in .png.")
               .arg(picture));
  if (status == kExitPageSucceeded) status = kExitPageFailed;
}

}  // namespace Kit
