#include "console/widgets/config_dialog.h"

#include <QHBoxLayout>
#include <QListWidget>
#include <QStackedWidget>

#include "console/widgets/general_page.h"
#include "console/widgets/icons.h"
#include "console/widgets/list_pages.h"

namespace velnor {

CConfigDialog::CConfigDialog(Prompter& prompter, QWidget* parent) : QDialog(parent) {
  setWindowTitle("Configuration");
  setWindowIcon(ActionIcon(Action::CONFIGURATION));
  auto* const list = new QListWidget(this);
  list->setAccessibleName("Pages");
  list->addItems({"General", "Domains", "Rules"});
  list->setFixedWidth(list->fontMetrics().horizontalAdvance('x') * 16);
  auto* const pages = new QStackedWidget(this);
  pages->addWidget(new CGeneralPage(prompter, pages));
  pages->addWidget(new CDomainsPage(prompter, pages));
  pages->addWidget(new CRulesPage(prompter, pages));
  connect(list, &QListWidget::itemSelectionChanged, pages, [list, pages] {
    if (const auto row = SelectedRow(*list)) pages->setCurrentIndex(static_cast<int>(*row));
  });
  auto* const layout = new QHBoxLayout(this);
  layout->addWidget(list);
  layout->addWidget(pages, 1);
}

}  // namespace velnor
