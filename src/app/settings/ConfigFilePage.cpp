#include "app/Look.h"
#include "app/QtText.h"
#include "app/ShellActions.h"
#include "app/settings/ConfigFileChoice.h"
#include "app/settings/SettingRows.h"
#include "app/settings/SettingsPages.h"
#include "base/FileSystem.h"
#include "base/Localized.h"

#include <QFileDialog>
#include <QHBoxLayout>
#include <QLineEdit>
#include <QPointer>
#include <QVBoxLayout>

namespace varnel {

namespace {

using Operation = ConfigFileOperation;

constexpr int kPanelWidth = 140; // characters
constexpr int kPanelHeight = 32; // lines

class ConfigFileView final : public QWidget {
public:
    explicit ConfigFileView(ConfigFilePageContext context);

protected:
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;

private:
    QWidget* makeOperationRow(Operation operation, const char* name, const std::string& explanation);
    void begin(Operation operation);
    void ask(Operation operation);
    void carryOut(Operation operation, const std::string& path);
    void read();

    ConfigFilePageContext context_;
    QLineEdit* path_;
    QLabel *content_, *problem_, *nextStart_, *outcome_;
    Subscription changes_; ///< while the page is seen
};

ConfigFileView::ConfigFileView(ConfigFilePageContext context)
    : context_(std::move(context))
    , path_(makePathField(localized("Active configuration file")))
    , content_(makeNote({}, this))
    , problem_(makeParagraph({}, this))
    , nextStart_(makeNote({}, this))
    , outcome_(makeParagraph({}, this)) {
    QFont font = path_->font();
    font.setWeight(QFont::DemiBold);
    path_->setFont(font);
    problem_->setForegroundRole(QPalette::Link);
    outcome_->setObjectName(QStringLiteral("outcome"));
    auto* card = new Card(this);
    auto* texts = new QVBoxLayout(card);
    texts->setContentsMargins(12, 12, 12, 12);
    texts->setSpacing(6);
    texts->addWidget(path_);
    for (QLabel* label : {content_, problem_, nextStart_})
        texts->addWidget(label);
    auto* edit = makeButton(qtText(localized("Open in &Editor")), this);
    connect(edit, &QPushButton::clicked, this, [this] { context_.actions.openConfiguration(); });
    edit->setObjectName(QStringLiteral("editor"));
    texts->addSpacing(6);
    texts->addWidget(edit, 0, Qt::AlignLeft);

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(14);
    layout->addWidget(card);
    layout->addWidget(makeRowCard(
        {makeOperationRow(Operation::open, "open", varnel::texts(Operation::open).panelMessage),
         makeOperationRow(Operation::create, "create", varnel::texts(Operation::create).panelMessage),
         makeOperationRow(Operation::useDefault, "default", context_.config.defaultConfigURL())}));
    layout->addWidget(outcome_);
    outcome_->hide();
    read();
}

QWidget* ConfigFileView::makeOperationRow(Operation operation, const char* name,
                                          const std::string& explanation) {
    auto* button = makeButton(qtText(texts(operation).label));
    button->setObjectName(QLatin1String(name));
    button->setAccessibleDescription(qtText(explanation));
    connect(button, &QPushButton::clicked, this, [this, operation] { begin(operation); });
    auto* row = new QWidget;
    auto* layout = new QHBoxLayout(row);
    layout->setContentsMargins(12, 12, 12, 12);
    layout->setSpacing(12);
    layout->addWidget(makeNote(qtText(explanation)), 1);
    layout->addWidget(button);
    return row;
}

void ConfigFileView::begin(Operation operation) {
    const FileQuestion& question = operation == Operation::open ? context_.askForOpen : context_.askForCreate;
    if (operation == Operation::useDefault)
        carryOut(operation, {});
    else if (question)
        question([self = QPointer(this), operation](const std::string& path) {
            if (self)
                self->carryOut(operation, path);
        });
    else
        ask(operation);
}

void ConfigFileView::ask(Operation operation) {
    const ConfigFileTexts wording = texts(operation);
    auto* panel = new QFileDialog(window(), qtText(wording.panelTitle));
    panel->setAttribute(Qt::WA_DeleteOnClose);
    panel->setDirectory(qtText(parentPath(context_.config.currentConfigPath())));
    panel->setNameFilters({qtText(localized("Configurations (*.json)")), qtText(localized("All files (*)"))});
    panel->setFileMode(operation == Operation::open ? QFileDialog::ExistingFile : QFileDialog::AnyFile);
    panel->setLabelText(QFileDialog::LookIn, qtText(wording.panelMessage));
    // Room for the message and for the folder beside it.
    panel->resize(fontMetrics().averageCharWidth() * kPanelWidth, fontMetrics().height() * kPanelHeight);
    if (operation == Operation::create) {
        panel->setAcceptMode(QFileDialog::AcceptSave);
        panel->setDefaultSuffix(QStringLiteral("json"));
        // A file that is there is refused with a better advice than to overwrite it.
        panel->setOption(QFileDialog::DontConfirmOverwrite);
    }
    connect(panel, &QFileDialog::fileSelected, this,
            [this, operation](const QString& path) { carryOut(operation, path.toStdString()); });
    panel->open();
}

void ConfigFileView::carryOut(Operation operation, const std::string& path) {
    const ConfigFileOutcome outcome = perform(context_.config, operation, path);
    outcome_->setText(qtText(outcome.text));
    outcome_->setForegroundRole(outcome.isSuccess ? QPalette::WindowText : QPalette::Link);
    outcome_->show();
    announce(*outcome_);
    read();
}

void ConfigFileView::read() {
    const ConfigFileState state = configFileState(context_.config, context_.preferences);
    path_->setText(qtText(state.path));
    path_->setCursorPosition(0);
    content_->setText(qtText(state.content));
    problem_->setText(qtText(state.problem));
    problem_->setVisible(!state.problem.empty());
    nextStart_->setText(qtText(state.nextStart));
}

void ConfigFileView::showEvent(QShowEvent* event) {
    changes_ = context_.config.observe([this](const ConfigChange&) { read(); });
    read();
    QWidget::showEvent(event);
}

void ConfigFileView::hideEvent(QHideEvent* event) {
    changes_.reset();
    outcome_->hide();
    QWidget::hideEvent(event);
}

std::unique_ptr<QWidget> makePage(const ConfigFilePageContext& context) {
    QVBoxLayout* layout = nullptr;
    auto page = makeSettingsPage(localized("Configuration File"), configFileExplanation(), layout);
    layout->addWidget(new ConfigFileView(context));
    layout->addStretch(1);
    return page;
}

SettingsEntry entry(const char* anchor, const std::string& title, const std::string& words = {}) {
    return {QLatin1String(anchor), qtText(withoutMnemonic(title)), qtText(words)};
}

} // namespace

SettingsPage makeConfigFilePage(const ConfigFilePageContext& context) {
    return {QStringLiteral("configuration"),
            qtText(localized("Configuration File")),
            qtText(localized("json path open create switch default backup")),
            [context] { return makePage(context); },
            {entry("editor", localized("Open in &Editor")), entry("open", texts(Operation::open).label),
             entry("create", texts(Operation::create).label),
             entry("default", texts(Operation::useDefault).label)}};
}

} // namespace varnel
