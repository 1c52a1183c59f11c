{ SPDX-License-Identifier: GPL-2.0-or-later }
{ The plug-in's files and settings outside of its folder, and their removal. }

const
  VendorKey = 'Software\Tarvoline';
  SettingsKey = 'Software\Tarvoline\SRTLA OBS Plugin';

var
  RemovesSettings: Boolean;

{ False if the user cancels. A silent uninstall keeps the settings unless the switch /REMOVESETTINGS is given. }
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

{ Removes the statistics file, its copy and downloaded installers, and on request the settings. Affects only the account that
  runs the uninstaller. }
procedure RemoveUserFiles;
var
  Temp: String;
begin
  Temp := GetEnv('TEMP');
  DeleteStatistics(AddBackslash(Temp) + 'Tarvoline');
  { OBS sets no application name, so Qt names the folder after the file name of OBS's program. }
  DeleteStatistics(ExpandConstant('{localappdata}\') + ChangeFileExt(ObsProgramName, ''));
  DeleteMatching(Temp, 'Tarvoline-SRTLA-Plugin-Setup-v*.exe');
  if RemovesSettings then begin
    RegDeleteKeyIncludingSubkeys(HKEY_CURRENT_USER, SettingsKey);
    RegDeleteKeyIfEmpty(HKEY_CURRENT_USER, VendorKey);
  end;
end;
