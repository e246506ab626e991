#include "window/printer_choice.h"

#include "files/output_file.h"
#include "window/qt_text.h"

#include <QComboBox>
#include <QDialogButtonBox>
#include <QDir>
#include <QFileDialog>
#include <QFileInfo>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPrinterInfo>
#include <QPushButton>
#include <QSpinBox>

namespace corvalissement {

namespace {

constexpr int MOST_COPIES = 999;

QString described(const OfferedPrinter& printer) {
    switch (printer.kind) {
    case OfferedPrinter::Kind::preview:
        return QObject::tr("Aperçu à l'écran");
    case OfferedPrinter::Kind::pdf:
        return QObject::tr("PDF (fichier)");
    case OfferedPrinter::Kind::system:
        return printer.name;
    case OfferedPrinter::Kind::server:
        return QObject::tr("%1 (serveur)").arg(printer.name);
    }
    return printer.name;
}

} // namespace

std::vector<OfferedPrinter> offered_printers(const std::vector<PrinterEntry>& of_server) {
    std::vector<OfferedPrinter> printers;
    printers.push_back({OfferedPrinter::Kind::preview, QStringLiteral("Aperçu"), {}});
    printers.push_back({OfferedPrinter::Kind::pdf, QStringLiteral("PDF"), {}});
    for (const QString& name : QPrinterInfo::availablePrinterNames())
        printers.push_back({OfferedPrinter::Kind::system, name, {}});
    for (const PrinterEntry& entry : of_server)
        printers.push_back({OfferedPrinter::Kind::server, shown_text(entry.name), entry});
    return printers;
}

PrinterChoiceDialog::PrinterChoiceDialog(const std::vector<OfferedPrinter>& printers, const QString& pdf_path,
                                         QWidget* parent)
    : QDialog(parent), printers_(printers) {
    setObjectName(QStringLiteral("ChoixImprimante"));
    setWindowTitle(tr("Choix de l'imprimante"));
    printer_ = new QComboBox;
    printer_->setObjectName(QStringLiteral("Imprimante"));
    for (const OfferedPrinter& printer : printers_)
        printer_->addItem(described(printer));
    copies_ = new QSpinBox;
    copies_->setObjectName(QStringLiteral("Exemplaires"));
    copies_->setRange(1, MOST_COPIES);
    path_ = new QLineEdit(pdf_path);
    path_->setObjectName(QStringLiteral("Fichier"));
    path_->setMinimumWidth(fontMetrics().averageCharWidth() * 50);
    browse_ = new QPushButton(tr("&Parcourir…"));
    connect(browse_, &QPushButton::clicked, this, [this] { ask_path(); });
    auto* file = new QHBoxLayout;
    file->addWidget(path_);
    file->addWidget(browse_);

    auto* buttons = new QDialogButtonBox;
    accept_ = buttons->addButton(tr("&Imprimer"), QDialogButtonBox::AcceptRole);
    buttons->addButton(tr("A&nnuler"), QDialogButtonBox::RejectRole);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);

    auto* form = new QFormLayout(this);
    form->addRow(tr("I&mprimante :"), printer_);
    auto* file_label = new QLabel(tr("&Fichier :"));
    file_label->setBuddy(path_);
    form->addRow(file_label, file);
    form->addRow(tr("&Exemplaires :"), copies_);
    form->addRow(buttons);
    connect(printer_, &QComboBox::currentIndexChanged, this, [this] { follow_choice(); });
    connect(path_, &QLineEdit::textChanged, this, [this] { follow_choice(); });
    follow_choice();
}

int PrinterChoiceDialog::index() const { return printer_->currentIndex(); }
int PrinterChoiceDialog::copies() const { return copies_->value(); }
QString PrinterChoiceDialog::pdf_path() const { return path_->text().trimmed(); }

void PrinterChoiceDialog::accept() {
    const bool replaces = path_->isEnabled() && pdf_path() != agreed_ && QFileInfo::exists(pdf_path());
    if (path_->isEnabled() && !may_write()) return;
    if (replaces && !may_replace()) return;
    QDialog::accept();
}

// Told here, and not behind an edition of some minutes.
bool PrinterChoiceDialog::may_write() {
    const OutputFile trial(field_text(pdf_path()));
    if (!trial.failed()) return true;
    QMessageBox::warning(this, windowTitle(),
                         tr("Le fichier « %1 » ne peut pas être écrit : %2.")
                             .arg(QDir::toNativeSeparators(pdf_path()), shown_text(trial.reason())));
    return false;
}

bool PrinterChoiceDialog::may_replace() {
    QMessageBox box(
        QMessageBox::Question, windowTitle(),
        tr("« %1 » existe déjà. Faut-il le remplacer ?").arg(QDir::toNativeSeparators(pdf_path())),
        QMessageBox::NoButton, this);
    const QAbstractButton* replace = box.addButton(tr("&Remplacer"), QMessageBox::AcceptRole);
    box.addButton(tr("&Annuler"), QMessageBox::RejectRole);
    box.exec();
    return box.clickedButton() == replace;
}

void PrinterChoiceDialog::follow_choice() {
    const auto kind = printers_[static_cast<std::size_t>(index())].kind;
    const bool file = kind == OfferedPrinter::Kind::pdf;
    path_->setEnabled(file);
    browse_->setEnabled(file);
    accept_->setEnabled(!file || !pdf_path().isEmpty());
    accept_->setText(kind == OfferedPrinter::Kind::preview ? tr("&Afficher")
                     : file                                ? tr("Enre&gistrer")
                                                           : tr("&Imprimer"));
}

void PrinterChoiceDialog::ask_path() {
    const QString path = QFileDialog::getSaveFileName(this, tr("Enregistrer le grand livre"), pdf_path(),
                                                      tr("Documents PDF (*.pdf)"));
    if (path.isEmpty()) return;
    agreed_ = with_pdf_ending(path); // the file dialog has asked already
    path_->setText(agreed_);
}

} // namespace corvalissement
