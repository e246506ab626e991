// The window of an accountant: a base, and on it one edition of the general ledger after the other.
#pragma once

#include "fec/fec_importer.h"
#include "window/control_widget.h"

#include <QMainWindow>

class QAction;
class QActionGroup;
class QLabel;
class QPushButton;
class QStackedWidget;

namespace corvalissement {

class MainWindow final : public QMainWindow {
public:
    MainWindow();

    // Opens an existing base and begins an edition. A base that cannot be opened is told to the user and
    // leaves the one that was open. True when it is open.
    bool open_base(const QString& path);

    // Begins an edition on the open base, in place of the one on the screen.
    void begin_edition();

protected:
    void closeEvent(QCloseEvent* event) override;

private:
    void make_menus();
    void make_welcome();
    void ask_open();
    void ask_create();
    void ask_import();
    void import(const FecOptions& options);
    void edition_finished();
    void show_document(std::shared_ptr<RecordedDocument> document);
    void set_level(std::int32_t level);
    void show_state();
    bool confirms(const OtherCompany& other);
    void tell_failure(const std::exception& failure);

    QStackedWidget* pages_ = nullptr;
    QLabel* welcome_ = nullptr;
    QPushButton* again_ = nullptr;
    ControlWidget* control_ = nullptr;
    QAction* import_ = nullptr;
    QAction* edition_ = nullptr;
    QString base_;
    std::int32_t level_ = LEVEL_EDITION;
    QString last_printed_;
};

} // namespace corvalissement
