// The choice of a printer: the preview, PDF, the printers of the system, and those that the server knows.
#pragma once

#include "host/printers.h"

#include <QDialog>

class QComboBox;
class QLineEdit;
class QPushButton;
class QSpinBox;

namespace corvalissement {

// A printer as the user sees it.
struct OfferedPrinter {
    enum class Kind : unsigned char { preview, pdf, system, server };
    Kind kind = Kind::preview;
    QString name;
    PrinterEntry entry; // of the server's printers
};

// The list in the order in which it is offered. The system is asked anew at each call.
[[nodiscard]] std::vector<OfferedPrinter> offered_printers(const std::vector<PrinterEntry>& of_server);

class PrinterChoiceDialog final : public QDialog {
public:
    // `pdf_path` is the file proposed for PDF.
    PrinterChoiceDialog(const std::vector<OfferedPrinter>& printers, const QString& pdf_path,
                        QWidget* parent);

    // What was chosen once the dialog was accepted: a place in the list, and the copies from 1 on.
    [[nodiscard]] int index() const;
    [[nodiscard]] int copies() const;
    [[nodiscard]] QString pdf_path() const;

    // Asks first when a file of that name is there, and stays open when none can be written.
    void accept() override;

private:
    void follow_choice();
    void ask_path();
    [[nodiscard]] bool may_replace();
    [[nodiscard]] bool may_write();

    const std::vector<OfferedPrinter>& printers_;
    QComboBox* printer_ = nullptr;
    QSpinBox* copies_ = nullptr;
    QLineEdit* path_ = nullptr;
    QPushButton* browse_ = nullptr;
    QPushButton* accept_ = nullptr;
    QString agreed_; // a file that the user has agreed to replace
};

} // namespace corvalissement
