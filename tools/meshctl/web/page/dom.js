// Elements of the page.

/** An element with this text; texts of others come into the page in no other way. */
export function make(name, text = "", className = "") {
  const element = document.createElement(name);
  element.textContent = text;
  if (className) element.className = className;
  return element;
}

/** Gives an element the children of another one, and changes only what differs. */
export function adopt(element, other) {
  const [old, now] = [[...element.childNodes], [...other.childNodes]];
  now.forEach((node, index) => {
    const same = old[index];
    if (!same) element.append(node);
    else if (same.nodeName !== node.nodeName) same.replaceWith(node);
    else if (node.nodeType !== Node.TEXT_NODE) adopt(same, node);
    else if (same.data !== node.data) same.data = node.data;
  });
  for (const node of old.slice(now.length)) node.remove();
}
