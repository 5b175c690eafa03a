-- Makes a page of a document: its title is its first heading, and links to other documents lead to their pages.
local function is_elsewhere(target)
  return target:match("^%a+:") ~= nil
end

function Link(link)
  if not is_elsewhere(link.target) then
    link.target = link.target:gsub("%.md$", ".html"):gsub("%.md#", ".html#")
  end
  return link
end

function Pandoc(document)
  for _, block in ipairs(document.blocks) do
    if block.t == "Header" then
      document.meta.pagetitle = pandoc.utils.stringify(block)
      break
    end
  end
  return document
end
