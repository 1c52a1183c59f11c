// SPDX-License-Identifier: GPL-2.0-or-later
// Widgets and layout of the panel.
#include "accessiblenames.h"
#include "docksettings.h"
#include "panelparts.h"
#include "panelwidgets.h"
#include "tarvolinedock.h"

#include <QBoxLayout>
#include <QCheckBox>
#include <QFormLayout>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QScrollArea>
#include <QTextEdit>

namespace {

// Sizes in pixels.
constexpr QSize minimumPanelSize(340, 360);
constexpr QSize initialPanelSize(410, 590);
constexpr QMargins columnMargins(6, 6, 6, 6);
constexpr int columnSpacing = 6;
constexpr QMargins groupMargins(8, 7, 8, 8);
constexpr int statusSpacing = 8;
constexpr int connectionHorizontalSpacing = 7;
constexpr int formVerticalSpacing = 5;
constexpr int rowSpacing = 5;
constexpr int startUpSpacing = 2;
constexpr int queryButtonWidth = 108;
constexpr int showButtonWidth = 74;
constexpr int copyButtonWidth = 78;
constexpr int logHeight = 62;

const auto widestPort = QStringLiteral("00000");

QHBoxLayout *rowLayout(QWidget *row)
{
    auto *layout = new QHBoxLayout(row);
    layout->setContentsMargins(QMargins());
    layout->setSpacing(rowSpacing);
    return layout;
}

// The padding of OBS's themes would truncate button texts in a narrow panel.
QPushButton *narrowButton(const QString &text)
{
    auto *button = new QPushButton(text);
    // With a selector, because a style sheet without one also applies to the tooltip.
    button->setStyleSheet(QStringLiteral("QPushButton { padding-left: 0; padding-right: 0; }"));
    return button;
}

QPushButton *buttonOfWidth(const QString &text, int maximumWidth)
{
    QPushButton *button = narrowButton(text);
    button->setMaximumWidth(maximumWidth);
    return button;
}

QLineEdit *readOnlyEdit()
{
    auto *edit = new QLineEdit;
    edit->setReadOnly(true);
    return edit;
}

QGroupBox *collapsibleGroup(const QString &title)
{
    auto *group = new QGroupBox(title);
    group->setCheckable(true);
    group->setChecked(false);
    return group;
}

} // namespace

void TarvolineDock::buildUi()
{
    auto *outer = new QVBoxLayout(this);
    outer->setContentsMargins(QMargins());

    auto *scrollArea = new QScrollArea(this);
    scrollArea->setWidgetResizable(true);
    scrollArea->setFrameShape(QFrame::NoFrame);
    scrollArea->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);

    auto *content = new QWidget(scrollArea);
    auto *column = new QVBoxLayout(content);
    column->setContentsMargins(columnMargins);
    column->setSpacing(columnSpacing);
    column->setSizeConstraint(QLayout::SetMinAndMaxSize);

    auto *title = new QLabel(tr("<b>Tarvoline SRTLA Receiver</b>"));
    title->setTextFormat(Qt::RichText);
    column->addWidget(title);

    PanelParts parts;
    buildStatusGroup(column);
    buildSettingsGroup(column, parts);
    buildConnectionGroup(column, parts);
    buildButtonRow(column, parts);
    buildVersionGroup(column);
    buildLogGroup(column, parts);
    column->addStretch(1);

    connectUi(parts);

    scrollArea->setWidget(content);
    outer->addWidget(scrollArea);
    setMinimumSize(minimumPanelSize);
    resize(initialPanelSize);
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Preferred);
}

void TarvolineDock::buildStatusGroup(QVBoxLayout *column)
{
    auto *group = new QGroupBox(tr("Receiver-Status"));
    column->addWidget(group);
    auto *layout = new QHBoxLayout(group);
    layout->setContentsMargins(groupMargins);
    layout->setSpacing(statusSpacing);

    layout->addWidget(new QLabel(tr("Status:")));
    statusLabel = new QLabel(tr("Inaktiv"));
    statusLabel->setTextInteractionFlags(Qt::NoTextInteraction);
    layout->addWidget(statusLabel);
    layout->addStretch(1);
}

void TarvolineDock::buildSettingsGroup(QVBoxLayout *column, PanelParts &parts)
{
    auto *group = new QGroupBox(tr("Einstellungen"));
    column->addWidget(group);
    auto *form = new QFormLayout(group);
    form->setContentsMargins(groupMargins);
    form->setHorizontalSpacing(sampledFormSpacing);
    form->setVerticalSpacing(formVerticalSpacing);
    form->setFieldGrowthPolicy(QFormLayout::AllNonFixedFieldsGrow);
    form->setRowWrapPolicy(QFormLayout::WrapLongRows);

    addPortRows(form);
    addHostRows(form);
    streamIdEdit = new QLineEdit(DockSettings::defaultStreamId);
    AccessibleNames::addRow(form, tr("Stream-ID:"), streamIdEdit, streamIdEdit);
    addPasswordRow(form, parts);
    addStartUpRow(form);
}

void TarvolineDock::addPortRows(QFormLayout *form)
{
    auto *row = new QWidget;
    QHBoxLayout *layout = rowLayout(row);
    auto *listenLabel = new QLabel(tr("SRTLA"));
    layout->addWidget(listenLabel);
    listenPortEdit = new SampledEdit(widestPort, QString::number(DockSettings::defaultListenPort));
    layout->addWidget(listenPortEdit);
    auto *targetLabel = new QLabel(tr("OBS"));
    layout->addWidget(targetLabel);
    targetPortEdit = new SampledEdit(widestPort, QString::number(DockSettings::defaultTargetPort));
    layout->addWidget(targetPortEdit);
    const QString rowLabel = tr("Ports:");
    AccessibleNames::addRow(form, rowLabel, row, listenPortEdit);
    AccessibleNames::nameInRow(listenPortEdit, listenLabel, rowLabel);
    AccessibleNames::nameInRow(targetPortEdit, targetLabel, rowLabel);

    linkPortsCheck = new QCheckBox(tr("OBS-Port = SRTLA + 2"));
    linkPortsCheck->setChecked(true);
    form->addRow(QString(), linkPortsCheck);
}

void TarvolineDock::addHostRows(QFormLayout *form)
{
    auto *row = new QWidget;
    QHBoxLayout *layout = rowLayout(row);
    publicHostEdit = new QLineEdit;
    layout->addWidget(publicHostEdit, 1);
    queryIpButton = buttonOfWidth(tr("IP ermitteln"), queryButtonWidth);
    queryIpButton->setToolTip(tr("Öffentliche IP-Adresse dieses Internetanschlusses ermitteln"));
    layout->addWidget(queryIpButton);
    AccessibleNames::addRow(form, tr("IP / Domain:"), row, publicHostEdit);

    ipHintLabel = new WrappingLabel(tr("Öffentliche IP kann automatisch ermittelt oder manuell eingetragen werden."));
    form->addRow(QString(), ipHintLabel);
}

void TarvolineDock::addPasswordRow(QFormLayout *form, PanelParts &parts)
{
    auto *row = new QWidget;
    QHBoxLayout *layout = rowLayout(row);
    const QString placeholder = tr("Kein Passwort");
    passwordEdit = new SampledEdit(placeholder);
    passwordEdit->setEchoMode(QLineEdit::Password);
    passwordEdit->setPlaceholderText(placeholder);
    layout->addWidget(passwordEdit);
    showPasswordButton = buttonOfWidth(tr("Zeigen"), showButtonWidth);
    layout->addWidget(showPasswordButton);
    parts.copyPasswordButton = buttonOfWidth(tr("Kopieren"), copyButtonWidth);
    layout->addWidget(parts.copyPasswordButton);
    AccessibleNames::addRow(form, tr("Passwort:"), row, passwordEdit);
    AccessibleNames::nameInRow(showPasswordButton, passwordEdit);
    AccessibleNames::nameInRow(parts.copyPasswordButton, passwordEdit);
}

void TarvolineDock::addStartUpRow(QFormLayout *form)
{
    auto *box = new QWidget;
    auto *layout = new QVBoxLayout(box);
    layout->setContentsMargins(QMargins());
    layout->setSpacing(startUpSpacing);
    autoStartCheck = new QCheckBox(tr("Receiver mit OBS starten"));
    layout->addWidget(autoStartCheck);
    autoSourceCheck = new QCheckBox(tr("Quelle bei OBS-Start reparieren"));
    layout->addWidget(autoSourceCheck);
    form->addRow(QString(), box);
}

void TarvolineDock::buildConnectionGroup(QVBoxLayout *column, PanelParts &parts)
{
    parts.connectionGroup = collapsibleGroup(tr("Verbindungsadressen"));
    column->addWidget(parts.connectionGroup);
    auto *form = new QFormLayout(parts.connectionGroup);
    form->setContentsMargins(groupMargins);
    form->setHorizontalSpacing(connectionHorizontalSpacing);
    form->setVerticalSpacing(formVerticalSpacing);

    auto *row = new QWidget;
    QHBoxLayout *layout = rowLayout(row);
    moblinAddressEdit = readOnlyEdit();
    layout->addWidget(moblinAddressEdit);
    parts.copyAddressButton = buttonOfWidth(tr("Kopieren"), copyButtonWidth);
    layout->addWidget(parts.copyAddressButton);
    AccessibleNames::addRow(form, tr("IRL-App:"), row, moblinAddressEdit);
    AccessibleNames::nameInRow(parts.copyAddressButton, moblinAddressEdit);

    obsAddressEdit = readOnlyEdit();
    AccessibleNames::addRow(form, tr("OBS:"), obsAddressEdit, obsAddressEdit);
}

void TarvolineDock::buildButtonRow(QVBoxLayout *column, PanelParts &parts)
{
    auto *layout = new QHBoxLayout;
    layout->setSpacing(rowSpacing);
    column->addLayout(layout);
    startButton = narrowButton(tr("Start"));
    layout->addWidget(startButton);
    stopButton = narrowButton(tr("Stopp"));
    stopButton->setEnabled(false);
    layout->addWidget(stopButton);
    parts.repairButton = narrowButton(tr("Quelle reparieren"));
    layout->addWidget(parts.repairButton);
}

void TarvolineDock::buildVersionGroup(QVBoxLayout *column)
{
    auto *group = new QGroupBox(tr("Plugin-Version"));
    column->addWidget(group);
    auto *layout = new QVBoxLayout(group);
    layout->setContentsMargins(groupMargins);
    versionLabel = new WrappingLabel(installedVersionText());
    layout->addWidget(versionLabel);
}

void TarvolineDock::buildLogGroup(QVBoxLayout *column, PanelParts &parts)
{
    parts.logGroup = collapsibleGroup(tr("Protokoll"));
    column->addWidget(parts.logGroup);
    auto *layout = new QVBoxLayout(parts.logGroup);
    layout->setContentsMargins(groupMargins);
    logView = new QTextEdit;
    logView->setReadOnly(true);
    logView->setAccessibleName(parts.logGroup->title());
    logView->setMaximumHeight(logHeight);
    layout->addWidget(logView);
}
