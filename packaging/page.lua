-- Makes a page of a document: its title is its first heading, and links to other documents lead to their pages and
-- name them.
local function is_elsewhere(target)
  return target:match("^%a+:") ~= nil
end

function Link(link)
  if not is_elsewhere(link.target) then
    link.target = link.target:gsub("%.md$", ".html"):gsub("%.md#", ".html#")
    link.content = pandoc.walk_inline(pandoc.Span(link.content), {
      Str = function(text) return pandoc.Str((text.text:gsub("%.md$", ".html"))) end
    }).content
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
