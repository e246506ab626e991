// What an accounting file becomes in the base: entity, name, address, and how its lines are taken.
#pragma once

#include "fec/entity_records.h"
#include "fec/fec_importer.h"

#include <QDialog>

#include <optional>

class QCheckBox;
class QLabel;
class QLineEdit;
class QPushButton;

namespace corvalissement {

// Begins with the first entity that the base doesn't have yet. One that it has is shown with what it holds,
// and taken only when the user says that the files belong to it.
class ImportDialog final : public QDialog {
public:
    // `store` must outlive the dialog and is only read.
    ImportDialog(const QStringList& files, Store& store, QWidget* parent);

    // The options as they stand in the fields.
    [[nodiscard]] FecOptions options() const;

private:
    [[nodiscard]] std::string fault() const;
    void check();
    void look_up_entity();
    void make_room();

    QStringList files_;
    Store& store_;
    std::optional<EntityFacts> standing_; // what the base holds of the entity in the field
    bool name_typed_ = false;
    QLineEdit* entity_ = nullptr;
    QLabel* facts_ = nullptr;
    QCheckBox* add_ = nullptr;
    QPushButton* fresh_ = nullptr;
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
