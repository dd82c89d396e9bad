// The tab control: a TabView with its TabStrip. A click on a tab, the shown one too, is the
// user showing that page; the keyboard's focus stands on the strip.
#include "window/control_kinds.h"
#include "window/tab_strip.h"
#include "window/tab_view.h"

namespace ketra::window {
namespace {

// The tab strip lays out this many tabs a row, each an equal share of the control's width.
constexpr int kTabsPerRow = 4;

class TabControl : public ControlView {
 public:
  TabControl(ControlHost& host, forms::ControlId id, QWidget* parent) : ControlView(host, id) {
    auto* view = new TabView(parent);
    widget_ = view;
    QStringList captions;
    for (const std::string& caption : control().tabs) captions << ToQt(caption);
    strip_ = new TabStrip(captions, host.Px(control().width), kTabsPerRow, view);
    strip_->setFocusPolicy(Qt::NoFocus);
    strip_->setGeometry(QRect(QPoint(0, 0), strip_->sizeHint()));
    view->SetStrip(strip_);
    strip_->setAccessibleName(QObject::tr("Pages"));
    strip_->on_tab_clicked = [this](int page) {
      if (host_.Listening()) Perform([this, page] { form().ShowPage(page); });
    };
  }

  QWidget* focus_widget() const override { return strip_; }

  void Apply(const forms::Control& tabs) override {
    strip_->setCurrentIndex(tabs.tab_shown);
    // The page frames follow the page shown.
    for (forms::ControlId page = 0; page < form().size(); ++page) {
      if (form().at(page).container == id_ && form().at(page).tab_page >= 0) host_.Reapply(page);
    }
  }

 private:
  TabStrip* strip_;
};

}  // namespace

ViewPtr MakeTabControl(ControlHost& host, forms::ControlId id, QWidget* parent) {
  return std::make_unique<TabControl>(host, id, parent);
}

}  // namespace ketra::window
