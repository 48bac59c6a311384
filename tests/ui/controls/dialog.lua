-- Dialogs and alerts run modally and are answered headless the way a user
-- answers them: clicks, Enter and Escape through vyrhost.input, from a
-- handler that runs when the modal run begins.
require 'vyrlua.vyrcontrols'
require 'vyrlua.uisupport.Alert'
local input = require 'vyrhost.input'
local R = vyrlua_CreateNewRectF32

-- A main window with a field that has the keyboard focus, and an export
-- dialog with a default, a cancel and a third button.
local function setup()
  input.onModal(nil)
  local main = vyrcontrols.NewWindow('main', R(100, 100, 400, 300), 'Main')
  local field = vyrcontrols.NewNode('field', R(10, 10, 100, 20))
  main:ChildPushBack(field)
  field:UI_SetWantsKeyboardFocus(true)
  assert(input.focus(field))
  local d = vyrcontrols.NewDialog('export', R(0, 0, 300, 120), 'Export')
  local log = {}
  local function button(id, x)
    local b = vyrcontrols.NewButton(id, R(x, 80, 80, 24), id)
    d:ChildPushBack(b)
    b:NotifyWhenChanged(function() log[#log + 1] = id end)
    return b
  end
  local ok, cancel, later = button('ok', 210), button('cancel', 120), button('later', 30)
  d:SetDefaultButton(ok, 5)
  d:SetCancelButton(cancel, -1)
  d:SetButtonResult(later, 9)
  return main, d, log, ok
end

local function errorsSince(n)
  local all = host.errors()
  return table.concat(all, '\n', n + 1)
end

return {
  {'an alert is answered by a click on its buttons, by Enter and by Escape', function()
    setup()
    local seen
    input.onModal(function(w)
      seen = w:GetTitle()
      assert(w:IsModal() and input.modalWindow():Equals(w))
      assert(input.click(w:GetDescendentByID('no'), 5, 5))
    end)
    local no = Alert.Show('Delete "Intro"?', 'Delete clip?', Alert.kAlertType_YesNoCancel, Alert.kAlertIcon_Warning)
    assert(no == Alert.kAlertButton_No and seen == 'Delete clip?', tostring(no))
    assert(input.modalWindow() == nil)
    local keys = {}
    for _, case in ipairs{{'Enter', Alert.kAlertType_YesNo}, {'Escape', Alert.kAlertType_YesNo},
                          {'Escape', Alert.kAlertType_OKCancel}, {'Escape', Alert.kAlertType_OK}} do
      input.onModal(function() assert(input.key(case[1])) end)
      keys[#keys + 1] = Alert.Show('?', nil, case[2])
    end
    assert(table.concat(keys, ' ') == '6 7 2 1', table.concat(keys, ' '))
  end},
  {'a dialog ends with the result of the button that answers it', function()
    local main, d, log = setup()
    local results = {}
    for _, answer in ipairs{
      function() input.key('Enter') end,
      function() input.key('Escape') end,
      function(w) input.click(w:GetDescendentByID('later'), 2, 2) end,
      function(w) w:Close() end,
    } do
      input.onModal(answer)
      results[#results + 1] = d:RunModal()
    end
    assert(table.concat(results, ' ') == '5 -1 9 -1', table.concat(results, ' '))
    -- Enter and Escape pressed the buttons, so their own handlers ran too.
    assert(table.concat(log, ' ') == 'ok cancel later', table.concat(log, ' '))
    assert(not d:IsModal() and d:GetModalResult() == -1)
  end},
  {'while a dialog runs, other windows take no input and a handler may end it', function()
    local main, d, log, ok = setup()
    ok:ClearNotifications()
    ok:NotifyWhenChanged(function() d:EndModal(42) end)
    d:SetButtonResult(ok, 5)
    input.onModal(function(w)
      assert(not input.click(main, 20, 20), 'the main window took a click')
      input.click(w:GetDescendentByID('ok'), 2, 2)
    end)
    -- The script's handler, attached first, answers before the button's
    -- own result would.
    local r = d:RunModal()
    assert(r == 42, tostring(r))
  end},
  {'an alert opened from a dialog button is answered by the next handler', function()
    local main, d, log, ok = setup()
    local inner, modal
    ok:ClearNotifications()
    ok:NotifyWhenChanged(function()
      inner = Alert.Show('Overwrite the file?', 'Confirm', Alert.kAlertType_OKCancel)
    end)
    input.onModal(function(w) input.key('Enter') end)
    input.onModal(function(w) modal = input.modalWindow():GetTitle() input.key('Escape') end)
    assert(d:RunModal() == 5)
    assert(inner == Alert.kAlertButton_Cancel and modal == 'Confirm', tostring(inner))
    assert(input.modalWindow() == nil)
  end},
  {'a run nobody answers ends cancelled and is reported, naming the dialog', function()
    local main, d = setup()
    local before = #host.errors()
    assert(Alert.Show('Delete?', 'Delete clip?', Alert.kAlertType_OKCancel) == Alert.kAlertButton_Cancel)
    assert(d:RunModal() == -1 and not d:IsModal())
    local said = errorsSince(before)
    assert(said == "headless: dialog 'Delete clip?' was not answered\n" ..
                   "headless: dialog 'Export' was not answered", said)
    -- A failing handler is reported and leaves the run unanswered.
    before = #host.errors()
    input.onModal(function() error('no answer here') end)
    assert(d:RunModal() == -1)
    said = errorsSince(before)
    assert(said:find('no answer here') and said:find("dialog 'Export' was not answered"), said)
  end},
  {'misuse gets a clear error', function()
    local main, d = setup()
    input.onModal(function(w)
      local ok, e = pcall(w.RunModal, w)
      assert(e:find("RunModal: dialog 'Export' runs modally already"), e)
      w:EndModal(3)
    end)
    assert(d:RunModal() == 3)
    d:Close()
    local ok, e = pcall(d.RunModal, d)
    assert(not ok and e:find("dialog 'Export' is closed"), e)
    ok, e = pcall(d.SetDefaultButton, d, vyrcontrols.NewNode())
    assert(not ok and e:find('SetDefaultButton: the button must be a control'), e)
    ok, e = pcall(function() Alert.Show('x', 't', 7) end)
    assert(not ok and e:find("bad argument #3 to 'Show' %(alert type expected"), e)
    ok, e = pcall(function() input.onModal(5) end)
    assert(not ok and e:find("bad argument #1 to 'onModal'"), e)
  end},
  {'windows have a frame, an owner and a front one; dialogs open centred on it', function()
    local main, d = setup()
    assert(getmetatable(main).SetOwner and getmetatable(d).SetOwner and getmetatable(d).RunModal)
    assert(not getmetatable(main).RunModal)
    main:UI_SetGlobalStructureRect(R(50, 60, 400, 300))
    local r = main:UI_GetGlobalStructureRect()
    assert(r.left == 50 and r.top == 60 and r.width == 400 and main:GetRecommendedScaleFactor() == 1)
    d:SetOwner(main)
    input.onModal(function(w) w:EndModal(0) end)
    d:RunModal()
    r = d:UI_GetGlobalStructureRect()
    assert(r.left == 100 and r.top == 150, r.left .. ',' .. r.top)
    local ok, e = pcall(main.SetOwner, main, d)
    assert(not ok and e:find('cannot own itself'), e)
    -- Without an owner, a new dialog opens over the active window.
    local other = vyrcontrols.NewWindow('other', R(500, 0, 200, 200))
    other:UI_Activate()
    local a = Alert.New('Done')
    input.onModal(function(w) w:EndModal(1) end)
    a:RunModal()
    r = a:UI_GetGlobalStructureRect()
    assert(r.left == 500 + (200 - r.width) / 2, r.left)
  end},
}
