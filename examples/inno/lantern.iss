// What setup and uninstaller of Lantern share.

var
  RestartNeeded: Boolean;
  Report: String;

// A line for the record of this run: the file that LANTERN_REPORT names, and Inno Setup's own log.
procedure Say(const Text: String);
begin
  Log(Text);
  if Report <> '' then
    SaveStringToFile(Report, AnsiString(Text) + #13#10, True);
end;

// Loads the library; the file that LANTERN_LOG names takes its trace.
procedure StartTarvo;
begin
  Report := GetEnv('LANTERN_REPORT');
  TARVO_Load(ExpandConstant('{app}\TARVO.dll'));
  if GetEnv('LANTERN_LOG') <> '' then
    TARVO_StartDebugLoggingRunTime(GetEnv('LANTERN_LOG'), 0);
end;

procedure EndTarvo;
begin
  TARVO_Unload;
end;

// Ends the run if a call has failed.
procedure Check(Code: DWORD; const What: String);
begin
  if Code = 0 then
    Exit;
  Say(What + ' failed with ' + IntToStr(Code) + ': ' + TARVO_LastError);
  RaiseException(What + ' failed');
end;

// A path below the product's folder.
function InApp(const Name: String): String;
begin
  Result := RemoveBackslash(ExpandConstant('{app}\' + Name));
end;

// Copies a file out of the setup, over one in use too.
procedure InstallFile(const Source, Target: String);
var
  Later: DWORD;
begin
  ExtractTemporaryFile(Source);
  Check(TARVO_CopyFileEx(ExpandConstant('{tmp}\') + Source, InApp(Target), False, Later), 'copying ' + InApp(Target));
  if Later = 0 then
    Say('copied ' + InApp(Target))
  else begin
    RestartNeeded := True;
    Say('in use, comes at the restart: ' + InApp(Target));
  end;
end;

// Deletes a file, one in use too.
procedure RemoveFile(const Path: String);
var
  Later: DWORD;
begin
  Check(TARVO_DeleteFileEx(Path, Later), 'deleting ' + Path);
  if Later = 0 then
    Say('deleted ' + Path)
  else begin
    RestartNeeded := True;
    Say('in use, goes at the restart: ' + Path);
  end;
end;
