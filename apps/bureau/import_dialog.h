// What an accounting file becomes in the base: entity, name, address, and how its lines are taken.
#pragma once

#include "importers/fec_importer.h"

#include <QDialog>

class QCheckBox;
class QLabel;
class QLineEdit;
class QPushButton;

namespace corvalissement {

class ImportDialog final : public QDialog {
public:
    explicit ImportDialog(const QStringList& files, QWidget* parent);

    // The options as they stand in the fields.
    [[nodiscard]] FecOptions options() const;

private:
    [[nodiscard]] std::string fault() const;
    void check();

    QStringList files_;
    QLineEdit* entity_ = nullptr;
    QLineEdit* name_ = nullptr;
    QLineEdit* street_ = nullptr;
    QLineEdit* street_2_ = nullptr;
    QLineEdit* town_ = nullptr;
    QLineEdit* first_ = nullptr;
    QLineEdit* last_ = nullptr;
    QCheckBox* drafts_ = nullptr;
    QCheckBox* auxiliaries_ = nullptr;
    QCheckBox* outside_ = nullptr;
    QLabel* fault_ = nullptr;
    QPushButton* accept_ = nullptr;
};

// The summary of an import, for a person.
[[nodiscard]] QString told_summary(const FecSummary& summary);

} // namespace corvalissement
