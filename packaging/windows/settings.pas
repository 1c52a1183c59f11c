{ SPDX-License-Identifier: GPL-2.0-or-later }
{ What the plug-in keeps outside its folder, and what becomes of it when it is uninstalled. }

const
  VendorKey = 'Software\Tarvoline';
  SettingsKey = 'Software\Tarvoline\SRTLA OBS Plugin';
  Gap = 12;

var
  RemovesSettings: Boolean;

{ True to go on. A silent uninstall keeps the settings, unless the switch /REMOVESETTINGS is given. }
function AskAboutSettings: Boolean;
var
  Form: TSetupForm;
  Box: TNewCheckBox;
  Ok, Cancel: TNewButton;
begin
  RemovesSettings := HasSwitch('/REMOVESETTINGS');
  Result := True;
  if UninstallSilent then
    exit;

  Form := CreateCustomForm;
  try
    Form.ClientWidth := ScaleX(440);
    Form.ClientHeight := ScaleY(90);
    Form.Caption := ExpandConstant('{#SetupSetting("AppName")}');

    Box := TNewCheckBox.Create(Form);
    Box.Parent := Form;
    Box.SetBounds(ScaleX(Gap), ScaleY(Gap), Form.ClientWidth - ScaleX(2 * Gap), ScaleY(20));
    Box.Caption := CustomMessage('RemoveSettings');
    Box.Checked := RemovesSettings;

    Cancel := TNewButton.Create(Form);
    Cancel.Parent := Form;
    Cancel.SetBounds(Form.ClientWidth - ScaleX(75 + Gap), Form.ClientHeight - ScaleY(23 + Gap), ScaleX(75), ScaleY(23));
    Cancel.Caption := SetupMessage(msgButtonCancel);
    Cancel.ModalResult := mrCancel;
    Cancel.Cancel := True;

    Ok := TNewButton.Create(Form);
    Ok.Parent := Form;
    Ok.SetBounds(Cancel.Left - ScaleX(75 + Gap), Cancel.Top, ScaleX(75), ScaleY(23));
    Ok.Caption := SetupMessage(msgButtonOK);
    Ok.ModalResult := mrOk;
    Ok.Default := True;

    Result := Form.ShowModal = mrOk;
    RemovesSettings := Box.Checked;
  finally
    Form.Free;
  end;
end;

procedure DeleteMatching(const Folder, Pattern: String);
var
  Found: TFindRec;
begin
  if FindFirst(AddBackslash(Folder) + Pattern, Found) then
    try
      repeat
        DeleteFile(AddBackslash(Folder) + Found.Name);
      until not FindNext(Found);
    finally
      FindClose(Found);
    end;
end;

procedure DeleteStatistics(const Folder: String);
begin
  DeleteFile(AddBackslash(Folder) + 'tarvoline-srtla-signal.json');
  RemoveDir(Folder);
end;

{ The statistics file for other programs, in both its places, and downloaded installers in any case, the settings where
  asked: those of the account that runs the uninstaller. }
procedure RemoveTraces;
var
  Temp: String;
begin
  Temp := GetEnv('TEMP');
  DeleteStatistics(AddBackslash(Temp) + 'Tarvoline');
  { Qt names an application's folder after its program where the application states no name; OBS states none. }
  DeleteStatistics(ExpandConstant('{localappdata}\') + ChangeFileExt(ObsProgramName, ''));
  DeleteMatching(Temp, 'Tarvoline-SRTLA-Plugin-Setup-v*.exe');
  if RemovesSettings then begin
    RegDeleteKeyIncludingSubkeys(HKEY_CURRENT_USER, SettingsKey);
    RegDeleteKeyIfEmpty(HKEY_CURRENT_USER, VendorKey);
  end;
end;
