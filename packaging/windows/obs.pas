{ SPDX-License-Identifier: GPL-2.0-or-later }
{ OBS Studio on this machine: its folder, running processes, closing and restarting. }
{ Setup may be a 32-bit or a 64-bit program, so structures here have no pointers. }

const
  ObsProgramName = 'obs64.exe';
  { Is beside the program in every OBS, and distinguishes OBS from other programs with its file name. }
  ObsLibraryName = 'obs.dll';
  { OBS stops its outputs and saves its settings before the process ends. }
  CloseTimeoutMs = 60000;
  PollIntervalMs = 250;
  { Start of the main window's title in every language: "OBS 31.1.1 - Profile: ...", "OBS Studio 31.1.1 - ...". }
  MainWindowTitle = 'OBS ';

  PROCESS_QUERY_LIMITED_INFORMATION = $1000;
  WM_CLOSE = $10;
  GW_OWNER = 4;
  MaxProcesses = 4096;
  BytesPerId = 4;
  { Length of a path in characters. }
  PathCapacity = 4096;

type
  TProcessIds = record
    Ids: array [0..4095] of LongWord;
  end;

function EnumProcesses(var Found: TProcessIds; Size: LongWord; var Used: LongWord): Boolean;
  external 'K32EnumProcesses@kernel32.dll stdcall';
function OpenProcess(Access: LongWord; Inherit: Boolean; ProcessId: LongWord): THandle;
  external 'OpenProcess@kernel32.dll stdcall';
function CloseHandle(Handle: THandle): Boolean;
  external 'CloseHandle@kernel32.dll stdcall';
function QueryFullProcessImageName(Process: THandle; Flags: LongWord; Name: String; var Size: LongWord): Boolean;
  external 'QueryFullProcessImageNameW@kernel32.dll stdcall';
function FindWindowEx(Parent, After: HWND; ClassName, Title: LongWord): HWND;
  external 'FindWindowExW@user32.dll stdcall';
function GetWindowThreadProcessId(Window: HWND; var ProcessId: LongWord): LongWord;
  external 'GetWindowThreadProcessId@user32.dll stdcall';
function GetWindow(Window: HWND; Relation: LongWord): HWND;
  external 'GetWindow@user32.dll stdcall';
function GetWindowText(Window: HWND; Text: String; Size: Integer): Integer;
  external 'GetWindowTextW@user32.dll stdcall';

var
  StoredObs: String;

function ProgramOfProcess(ProcessId: LongWord): String;
var
  Process: THandle;
  Size: LongWord;
begin
  Result := '';
  Process := OpenProcess(PROCESS_QUERY_LIMITED_INFORMATION, False, ProcessId);
  if Process = 0 then
    exit;
  Size := PathCapacity;
  Result := StringOfChar(' ', PathCapacity);
  if QueryFullProcessImageName(Process, 0, Result, Size) then
    SetLength(Result, Size)
  else
    Result := '';
  CloseHandle(Process);
end;

function IsObs(const ProgramPath: String): Boolean;
begin
  Result := (CompareText(ExtractFileName(ProgramPath), ObsProgramName) = 0) and
    FileExists(AddBackslash(ExtractFileDir(ProgramPath)) + ObsLibraryName);
end;

{ Path of the program of the first running OBS; empty if none is running. }
function RunningObs: String;
var
  Found: TProcessIds;
  Used: LongWord;
  I: Integer;
  ProgramPath: String;
begin
  Result := '';
  if not EnumProcesses(Found, MaxProcesses * BytesPerId, Used) then
    exit;
  for I := 0 to Used div BytesPerId - 1 do begin
    ProgramPath := ProgramOfProcess(Found.Ids[I]);
    if IsObs(ProgramPath) then begin
      Result := ProgramPath;
      exit;
    end;
  end;
end;

{ Stores the running OBS before it is closed, so that the same program is restarted. }
procedure StoreRunningObs;
begin
  StoredObs := RunningObs;
end;

{ The folder of the OBS that was installed by OBS's own installer; empty without such an OBS. }
function ObsFolder(Param: String): String;
begin
  if not RegQueryStringValue(HKLM64, 'SOFTWARE\OBS Studio', '', Result) then
    if not RegQueryStringValue(HKLM32, 'SOFTWARE\OBS Studio', '', Result) then
      Result := '';
end;

function HasObsFolder: Boolean;
begin
  Result := ObsFolder('') <> '';
end;

function ObsProgram(Param: String): String;
begin
  Result := StoredObs;
  if (Result = '') and HasObsFolder then
    Result := AddBackslash(ObsFolder('')) + 'bin\64bit\' + ObsProgramName;
end;

function HasObsProgram: Boolean;
begin
  Result := FileExists(ObsProgram(''));
end;

{ The working folder for OBS, relative to which it finds its data. }
function ObsProgramFolder(Param: String): String;
begin
  Result := ExtractFileDir(ObsProgram(''));
end;

function HasSwitch(const Name: String): Boolean;
var
  I: Integer;
begin
  Result := False;
  for I := 1 to ParamCount do
    if CompareText(ParamStr(I), Name) = 0 then
      Result := True;
end;

function CanStartObs: Boolean;
begin
  Result := HasObsProgram and (RunningObs = '');
end;

function StartsObsAgain: Boolean;
begin
  Result := HasSwitch('/RESTARTAPPLICATIONS') and not HasSwitch('/NORESTARTAPPLICATIONS') and CanStartObs;
end;

function OffersObs: Boolean;
begin
  Result := not HasSwitch('/RESTARTAPPLICATIONS') and CanStartObs;
end;

function TitleBegins(Window: HWND; const Start: String): Boolean;
var
  Title: String;
begin
  Title := StringOfChar(' ', Length(Start));
  { The size includes the terminating zero. }
  SetLength(Title, GetWindowText(Window, Title, Length(Start) + 1));
  Result := Title = Start;
end;

{ Only the main window is closed: floating docks (owned by it) and projectors must stay open until OBS has saved which of them
  are open. The main window may be hidden, if OBS is in the tray. }
function IsMainWindowOfObs(Window: HWND): Boolean;
var
  ProcessId: LongWord;
begin
  Result := (GetWindow(Window, GW_OWNER) = 0) and TitleBegins(Window, MainWindowTitle);
  if Result then begin
    GetWindowThreadProcessId(Window, ProcessId);
    Result := IsObs(ProgramOfProcess(ProcessId));
  end;
end;

{ Closes the main window of every running OBS, as its close button does, and waits for the end of the processes. OBS
  shows a confirmation dialog while it streams or records. }
procedure CloseObs;
var
  Window: HWND;
  WaitedMs: Integer;
begin
  Window := FindWindowEx(0, 0, 0, 0);
  while Window <> 0 do begin
    if IsMainWindowOfObs(Window) then
      PostMessage(Window, WM_CLOSE, 0, 0);
    Window := FindWindowEx(0, Window, 0, 0);
  end;
  WaitedMs := 0;
  while (RunningObs <> '') and (WaitedMs < CloseTimeoutMs) do begin
    Sleep(PollIntervalMs);
    WaitedMs := WaitedMs + PollIntervalMs;
  end;
end;

{ True if no OBS is running. Closes OBS if the switch is given or the user agrees. }
function ObsIsClosed: Boolean;
begin
  if RunningObs <> '' then
    if HasSwitch('/CLOSEAPPLICATIONS') then
      CloseObs
    else if SuppressibleMsgBox(CustomMessage('CloseObs'), mbConfirmation, MB_YESNO, IDNO) = IDYES then
      CloseObs;
  Result := RunningObs = '';
end;
