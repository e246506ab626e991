// The ledger page by page after an edition: zoom, a page by its number, an account, a text, thumbnails; saved
// as PDF or printed. A window of its own, which lives as long as its user wants and holds the document.
#pragma once

#include "window/page_view.h"

#include <QMainWindow>

class QComboBox;
class QLabel;
class QLineEdit;
class QListView;
class QScrollArea;
class QSpinBox;

namespace corvalissement {

class PreviewWindow final : public QMainWindow {
public:
    explicit PreviewWindow(std::shared_ptr<RecordedDocument> document, QWidget* parent = nullptr);

    // Told the window's place when it closes, so that the host can remember it.
    std::function<void(const QByteArray& geometry)> closing;

    // Pages are counted from 1 here, as on paper; a number beyond the document is ignored.
    void go_to_page(long number);
    [[nodiscard]] long current_page() const noexcept;

    // Shows the next place of the text and gives false when there is none.
    bool search(const QString& text);

    // Writes the document as PDF. Throws StepFailure (ERR_OUTPUT).
    void save_pdf(const QString& path);

protected:
    void resizeEvent(QResizeEvent* event) override;
    void closeEvent(QCloseEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    class PageModel;

    void make_actions();
    void make_side();
    void show_place(long page, const std::optional<FoundText>& found, double y);
    void jump_to_account(std::size_t account);
    void zoom_by(double factor);
    void apply_zoom();
    void ask_save();
    void ask_print();
    // Runs what may fail and tells the user what did.
    void attempt(const std::function<void()>& action);

    std::shared_ptr<RecordedDocument> document_;
    PageView* page_ = nullptr;
    QScrollArea* area_ = nullptr;
    QSpinBox* number_ = nullptr;
    QComboBox* zoom_ = nullptr;
    QLineEdit* text_ = nullptr;
    QListView* thumbnails_ = nullptr;
    std::optional<FoundText> found_;
    QString searched_;
};

} // namespace corvalissement
