{ SPDX-License-Identifier: GPL-2.0-or-later }
{ OBS Studio on this machine: where it is, whether it runs, how it is asked to close and started again. }

const
  ObsProgramName = 'obs64.exe';
  { OBS ends its outputs and saves before it goes. }
  CloseWithinMs = 60000;
  LookEveryMs = 100;
  { So OBS calls its main window in every language: "OBS 31.1.1 - Profile: ...", "OBS Studio 31.1.1 - ...". }
  MainWindowTitle = 'OBS ';

  TH32CS_SNAPPROCESS = 2;
  PROCESS_QUERY_LIMITED_INFORMATION = $1000;
  WM_CLOSE = $10;
  GW_OWNER = 4;
  MaxPath = 260;

type
  TProcessEntry32 = record
    dwSize, cntUsage, th32ProcessID: LongWord;
    { A pointer-sized field between two of 32 bits: 32-bit programs, as Setup is one, need no padding. }
    th32DefaultHeapID, th32ModuleID, cntThreads, th32ParentProcessID: LongWord;
    pcPriClassBase: Longint;
    dwFlags: LongWord;
    szExeFile: array [0..259] of Char;
  end;

function CreateToolhelp32Snapshot(Flags, ProcessId: LongWord): THandle;
  external 'CreateToolhelp32Snapshot@kernel32.dll stdcall';
function Process32First(Snapshot: THandle; var Entry: TProcessEntry32): Boolean;
  external 'Process32FirstW@kernel32.dll stdcall';
function Process32Next(Snapshot: THandle; var Entry: TProcessEntry32): Boolean;
  external 'Process32NextW@kernel32.dll stdcall';
function OpenProcess(Access: LongWord; Inherit: Boolean; ProcessId: LongWord): THandle;
  external 'OpenProcess@kernel32.dll stdcall';
function CloseHandle(Handle: THandle): Boolean;
  external 'CloseHandle@kernel32.dll stdcall';
function QueryFullProcessImageName(Process: THandle; Flags: LongWord; Name: String; var Size: LongWord): Boolean;
  external 'QueryFullProcessImageNameW@kernel32.dll stdcall';
function EnumWindows(Callback: Longword; Param: Longint): Boolean;
  external 'EnumWindows@user32.dll stdcall';
function GetWindowThreadProcessId(Window: HWND; var ProcessId: LongWord): LongWord;
  external 'GetWindowThreadProcessId@user32.dll stdcall';
function GetWindow(Window: HWND; Relation: LongWord): HWND;
  external 'GetWindow@user32.dll stdcall';
function GetWindowText(Window: HWND; Text: String; Size: Integer): Integer;
  external 'GetWindowTextW@user32.dll stdcall';

var
  RememberedObs: String;

function NameInEntry(const Entry: TProcessEntry32): String;
var
  I: Integer;
begin
  Result := '';
  I := 0;
  while (I < MaxPath) and (Entry.szExeFile[I] <> #0) do begin
    Result := Result + Entry.szExeFile[I];
    I := I + 1;
  end;
end;

{ The process id of a running OBS, or 0. }
function ObsProcess: LongWord;
var
  Snapshot: THandle;
  Entry: TProcessEntry32;
  More: Boolean;
begin
  Result := 0;
  Snapshot := CreateToolhelp32Snapshot(TH32CS_SNAPPROCESS, 0);
  Entry.dwSize := SizeOf(Entry);
  More := Process32First(Snapshot, Entry);
  while More and (Result = 0) do begin
    if CompareText(NameInEntry(Entry), ObsProgramName) = 0 then
      Result := Entry.th32ProcessID;
    More := Process32Next(Snapshot, Entry);
  end;
  CloseHandle(Snapshot);
end;

function ProgramOfProcess(ProcessId: LongWord): String;
var
  Process: THandle;
  Size: LongWord;
begin
  Result := '';
  Process := OpenProcess(PROCESS_QUERY_LIMITED_INFORMATION, False, ProcessId);
  if Process = 0 then
    exit;
  Size := MaxPath;
  Result := StringOfChar(' ', MaxPath);
  if QueryFullProcessImageName(Process, 0, Result, Size) then
    SetLength(Result, Size)
  else
    Result := '';
  CloseHandle(Process);
end;

{ Before OBS goes: which one it was, so that the same one is started again. }
procedure RememberObs;
var
  Running: LongWord;
begin
  Running := ObsProcess;
  if Running <> 0 then
    RememberedObs := ProgramOfProcess(Running);
end;

{ Where OBS's own installer has put it; empty when it never ran. }
function ObsFolder(Param: String): String;
begin
  if not RegQueryStringValue(HKLM64, 'SOFTWARE\OBS Studio', '', Result) then
    if not RegQueryStringValue(HKLM32, 'SOFTWARE\OBS Studio', '', Result) then
      Result := '';
end;

function KnowsObsFolder: Boolean;
begin
  Result := ObsFolder('') <> '';
end;

function ObsProgram(Param: String): String;
begin
  Result := RememberedObs;
  if (Result = '') and KnowsObsFolder then
    Result := AddBackslash(ObsFolder('')) + 'bin\64bit\' + ObsProgramName;
end;

{ OBS finds its data by its working folder. }
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
  Result := FileExists(ObsProgram('')) and (ObsProcess = 0);
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
  { The size counts the zero at the end. }
  SetLength(Title, GetWindowText(Window, Title, Length(Start) + 1));
  Result := Title = Start;
end;

{ Floating docks, which the main window owns, and projectors are left alone: they would be gone before OBS saves which of
  them were open. Whether the main window can be seen does not count: OBS in the tray hides it. }
function AskMainWindowToClose(Window: HWND; ProcessId: Longint): Boolean;
var
  Process: LongWord;
begin
  GetWindowThreadProcessId(Window, Process);
  if (Process = LongWord(ProcessId)) and (GetWindow(Window, GW_OWNER) = 0) and TitleBegins(Window, MainWindowTitle) then
    PostMessage(Window, WM_CLOSE, 0, 0);
  Result := True;
end;

{ As a click on the cross does; OBS itself asks back while it streams or records. }
procedure AskObsToClose;
var
  WaitedMs: Integer;
begin
  EnumWindows(CreateCallback(@AskMainWindowToClose), ObsProcess);
  WaitedMs := 0;
  while (ObsProcess <> 0) and (WaitedMs < CloseWithinMs) do begin
    Sleep(LookEveryMs);
    WaitedMs := WaitedMs + LookEveryMs;
  end;
end;

{ True when no OBS runs (any more). Closes it where the switch or the user says so. }
function ObsIsClosed: Boolean;
begin
  if ObsProcess <> 0 then
    if HasSwitch('/CLOSEAPPLICATIONS') then
      AskObsToClose
    else if SuppressibleMsgBox(CustomMessage('CloseObs'), mbConfirmation, MB_YESNO, IDNO) = IDYES then
      AskObsToClose;
  Result := ObsProcess = 0;
end;
