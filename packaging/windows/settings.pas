{ SPDX-License-Identifier: GPL-2.0-or-later }
{ What the plug-in keeps outside its folder, and what becomes of it when it is uninstalled. }

const
  VendorKey = 'Software\Tarvoline';
  SettingsKey = 'Software\Tarvoline\SRTLA OBS Plugin';

var
  RemovesSettings: Boolean;

{ True to go on. A silent uninstall keeps the settings, unless the switch /REMOVESETTINGS is given. }
function AskAboutSettings: Boolean;
var
  Answer: Integer;
begin
  Result := True;
  RemovesSettings := HasSwitch('/REMOVESETTINGS');
  if RemovesSettings or UninstallSilent then
    exit;
  Answer := SuppressibleMsgBox(CustomMessage('RemoveSettings'), mbConfirmation, MB_YESNOCANCEL or MB_DEFBUTTON2, IDNO);
  RemovesSettings := Answer = IDYES;
  Result := Answer <> IDCANCEL;
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
