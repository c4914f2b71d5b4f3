vn_fuzz(macbinaire NEEDS fichiers)
vn_fuzz(binhex NEEDS fichiers)
vn_fuzz(apple NEEDS fichiers)
vn_fuzz(projet NEEDS projet)
